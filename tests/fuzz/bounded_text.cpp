// SPDX-License-Identifier: LGPL-2.1-or-later
//
// A line for each step: what is to be done, and with which text.
#include "support/bounded_text.h"
#include "fuzz.h"

namespace {

constexpr std::size_t capacity = 24;

// The same in a text that has no bounds of its own.
class model {
public:
    void set(const std::string &text) { text_ = up_to_zero(text.substr(0, capacity - 1)); }

    void append(const std::string &text)
    {
        text_ = up_to_zero(text_ + text.substr(0, capacity - 1 - text_.size()));
    }

    void cut(const std::string &ends) { text_ = up_to(text_, ends); }
    [[nodiscard]] const std::string &text() const { return text_; }

private:
    std::string text_;
};

void take_step(const std::string &line, orvane::text_buffer &text, model &expected)
{
    const std::string bytes = line.substr(std::min<std::size_t>(line.size(), 1));
    const std::string c_text = up_to_zero(bytes);
    switch (line.empty() ? '\0' : line[0]) {
    case 'a':
        text.append(bytes);
        return expected.append(bytes);
    case 's':
        text.assign(bytes);
        return expected.set(bytes);
    case 'f':
        text.format("<%s>%zu", c_text.c_str(), bytes.size());
        return expected.set("<" + c_text + ">" + std::to_string(bytes.size()));
    case 'c':
        text.cut_at_any(c_text.c_str());
        return expected.cut(c_text);
    default:
        text.clear();
        return expected.set("");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string steps = bytes_of(data, size);
    orvane::bounded_text<capacity> text;
    model expected;
    while (!steps.empty()) {
        take_step(take_line(steps), text, expected);
        require(text.view() == expected.text());
        require(text.empty() == expected.text().empty() && text.data()[capacity - 1] == '\0');
    }
    require(orvane::heap_text(text.copy()).get() == expected.text());
    return 0;
}
