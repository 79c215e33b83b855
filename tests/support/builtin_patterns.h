// SPDX-License-Identifier: LGPL-2.1-or-later
//
// The texts of the two key files that the library builds.
#pragma once

inline constexpr char exact_patterns[] = "[manufacturer_patterns]\n"
                                         "lenovo=lenovo|KaiTian|LENOVO\n"
                                         "tongfang=THTF\n"
                                         "Baixin=Baixin\n"
                                         "shuguang=Suma\n"
                                         "Haier=Haier\n"
                                         "shenzhoukuntai=yunke china\n"
                                         "ziguang=H3C|UNIS|UNICOMPUTE|LANXCBCOMPUTER\n"
                                         "xiwo=seewo\n"
                                         "lianshuo=LIANSHUO COMPUTER\n"
                                         "HUAWEI=HUAWEI\n";

inline constexpr char patterns_without_case[] =
    "[manufacturer_patterns]\n"
    "greatwall=greatwall\n"
    "Inspur=Inspur\n"
    "706suo=Beijing Institute of Computer Technology and Application\n"
    "Huawei=Huawei\n";
