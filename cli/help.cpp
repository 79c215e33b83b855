// SPDX-License-Identifier: LGPL-2.1-or-later
#include "help.h"
#include "facts.h"

#include <algorithm>

namespace {

struct help_text {
    std::string_view subcommand;
    const char *text;
};

constexpr help_text texts[] = {
    {"", R"(Tells the identity of the machine it runs on, and checks and encodes data files.
Usage: orvane [OPTIONS] [SUBCOMMAND]

Options:
  -h,--help                   Print this help message and exit
  --version                   Display program version information and exit

Subcommands:
  show                        Show what is known (the default)
  root-disk                   Print the name of the disk with the root file system on one of its partitions, as lsblk -J lists it
  digest                      Print or check the digests of files
  signature                   Check an RSA signature under the key in /etc/orvane/public.pem
  gpg                         Verify or encrypt with the built-in GPG key
  base64                      Convert standard input to or from base64

)"},
    {"show", R"(Show what is known (the default)
Usage: orvane show [OPTIONS] [NAME]

Positionals:
  NAME TEXT Excludes: --json  One fact, to print its value alone

Options:
  -h,--help                   Print this help message and exit
  --json Excludes: NAME       Print one JSON object

Facts:
)"},
    {"root-disk",
     R"(Print the name of the disk with the root file system on one of its partitions, as lsblk -J lists it
Usage: orvane root-disk [OPTIONS]

Options:
  -h,--help                   Print this help message and exit

)"},
    {"digest", R"(Print or check the digests of files
Usage: orvane digest [OPTIONS] ALGORITHM [FILE...]
       orvane digest [OPTIONS] ALGORITHM FILE HEX
       orvane digest [OPTIONS] --check SUMS

Positionals:
  ALGORITHM TEXT Excludes: --check
                              sha256, sha1 or md5
  FILE TEXT ...               Files, to print their digests as sha256sum does
                              (- or none is standard input)
  HEX TEXT                    All hexadecimal digits of the digest that one file should have
                              (a file with such a name is ./NAME)

Options:
  -h,--help                   Print this help message and exit
  --check TEXT Excludes: ALGORITHM
                              A list of digests and files to check, as sha256sum writes it
                              (- is standard input)
  --quiet Needs: --check      Print no file that has its digest
  --status Needs: --check     Print nothing of the files, the exit status alone says it
  --ignore-missing Needs: --check
                              Pass over files that are missing
  --strict Needs: --check     Exit with 1 also where a line of the list is malformed

Exit status: 0 every digest is as it should be or was printed, 1 one differs, 2 wrong usage,
3 a file or the list cannot be read.

)"},
    {"signature", R"(Check an RSA signature under the key in /etc/orvane/public.pem
Usage: orvane signature [OPTIONS] TEXTFILE SIGNATUREFILE

Positionals:
  TEXTFILE TEXT REQUIRED      The text that was signed
  SIGNATUREFILE TEXT REQUIRED Its signature, in base64

Options:
  -h,--help                   Print this help message and exit
  --key TEXT                  The public key to check under in place of that one

Exit status: 0 the signature is valid, 1 it is not, 2 wrong usage, 3 the key or a file cannot be
read.

)"},
    {"gpg", R"(Verify or encrypt with the built-in GPG key
Usage: orvane gpg [OPTIONS] SUBCOMMAND

Options:
  -h,--help                   Print this help message and exit

Subcommands:
  verify                      Verify a file that carries its content and signatures
  encrypt                     Encrypt the text on standard input

)"},
    {"gpg verify", R"(Verify a file that carries its content and signatures
Usage: orvane gpg verify [OPTIONS] FILE

Positionals:
  FILE TEXT REQUIRED          The signed file

Options:
  -h,--help                   Print this help message and exit
  --output TEXT               Where to write its content (- is standard output)

Exit status: 0 the file is valid, 1 it is not, 2 wrong usage, 3 it cannot be told: the file cannot
be read or is a detached signature, gpg is not installed, or the key store cannot be used.

)"},
    {"gpg encrypt", R"(Encrypt the text on standard input
Usage: orvane gpg encrypt [OPTIONS]

Options:
  -h,--help                   Print this help message and exit
  --output TEXT               Where to write the message (standard output)

)"},
    {"base64", R"(Convert standard input to or from base64
Usage: orvane base64 [OPTIONS] SUBCOMMAND

Options:
  -h,--help                   Print this help message and exit

Subcommands:
  encode                      Bytes to base64 on one line
  decode                      Base64, on any number of lines, to bytes
  to-url                      Base64 to the form for the query of a URL
  from-url                    The form for the query of a URL to base64

)"},
    {"base64 encode", R"(Bytes to base64 on one line
Usage: orvane base64 encode [OPTIONS]

Options:
  -h,--help                   Print this help message and exit

)"},
    {"base64 decode", R"(Base64, on any number of lines, to bytes
Usage: orvane base64 decode [OPTIONS]

Options:
  -h,--help                   Print this help message and exit

)"},
    {"base64 to-url", R"(Base64 to the form for the query of a URL
Usage: orvane base64 to-url [OPTIONS]

Options:
  -h,--help                   Print this help message and exit

)"},
    {"base64 from-url", R"(The form for the query of a URL to base64
Usage: orvane base64 from-url [OPTIONS]

Options:
  -h,--help                   Print this help message and exit

)"},
};

std::string list_of_facts()
{
    std::string list;
    for (const fact &known : all_facts()) {
        std::string line = std::string("  ") + known.name;
        line.resize(std::max<std::size_t>(line.size() + 1, 30), ' ');
        list += line + known.description + "\n";
    }
    return list + "\n";
}

} // namespace

std::string help_of(std::string_view subcommand)
{
    const help_text *const found =
        std::find_if(std::begin(texts), std::end(texts),
                     [&](const help_text &one) { return one.subcommand == subcommand; });
    return found->text + (subcommand == "show" ? list_of_facts() : "");
}
