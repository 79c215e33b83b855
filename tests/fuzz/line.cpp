// SPDX-License-Identifier: LGPL-2.1-or-later
#include "fuzz.h"
#include "orvane.h"
#include "support/line_reader.h"

namespace {

using small_buffer = orvane::bounded_text<16>;

// Each line, or as much of it as the buffer holds, and then the next.
void require_pieces(const std::string &bytes)
{
    const orvane::unique_file stream = stream_of(bytes.data(), bytes.size());
    std::string rest = bytes;
    small_buffer line;
    while (!rest.empty()) {
        require(orvane::read_line(stream.get(), line));
        require(line.view() == take_read(rest, line.capacity()));
    }
    require(!orvane::read_line(stream.get(), line));
}

void require_start(const memory_file &file, const std::string &bytes)
{
    const std::string expected = up_to_zero(bytes.substr(0, 15));
    small_buffer start;
    require(orvane::start_of_file(file.path(), start) == !bytes.empty());
    require(start.view() == expected);
    const orvane::unique_file stream = stream_of(bytes.data(), bytes.size());
    orvane::read_text(stream.get(), start);
    require(start.view() == expected);
}

void require_first_line(char *(*query)(const char *path), const memory_file &file,
                        const std::string &bytes)
{
    const orvane::heap_text line(query(file.path()));
    require((line == nullptr) == bytes.empty());
    require(!line || line.get() == up_to(up_to_zero(bytes.substr(0, 1023)), "\r\n"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const memory_file file;
    const std::string bytes = bytes_of(data, size);
    file.fill(bytes);
    require_pieces(bytes);
    require_start(file, bytes);
    require_first_line(get_machine_info_from_sysfs, file, bytes);
    require_first_line(get_service_tag_from_sysfs, file, bytes);
    return 0;
}
