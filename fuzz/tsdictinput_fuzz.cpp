// Fuzz target: tsdict's readers of untrusted command-line text and check lists, built from the
// tool's own sources. Every input is taken as a frame count, a frame rate, an error-message
// argument, a check-list line and a file name. Invariants: refusals are BadInput only; an
// accepted frame count reads back from its decimal text; an accepted rate is valid and positive;
// an argument shown in a message has no control byte and a bounded length; digest lines written
// for any name are one line and read back as that name, and an accepted line writes back as
// itself up to the case of its hex digits.

#include "tsfuzzsupport.h"

#include "../tools/tsdict/tscommandline.h"
#include "../tools/tsdict/tsdigestline.h"

#include <cstdint>
#include <string>

using namespace Tessel::Tools;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        const long long frame = parseFrameCount(text);
        TSFUZZ_CHECK(parseFrameCount(std::to_string(frame)) == frame);
    } catch (const BadInput&) {
    }
    try {
        const Tessel::Base::TimeBase rate = parseFrameRate(text);
        TSFUZZ_CHECK(rate.denominator != 0 && rate.rate() > 0);
    } catch (const BadInput&) {
    }

    const std::string shown = printable(text);
    TSFUZZ_CHECK(shown.size() <= 2 + 4 * 80 + 3 && shown.front() == '\'' && shown.back() == '\'');
    for (char c : shown)
        TSFUZZ_CHECK(static_cast<unsigned char>(c) >= 0x20 && c != 0x7f);

    const std::string hex(64, "0123456789abcdef"[size % 16]);
    const std::string line = digestLine(hex, text);
    TSFUZZ_CHECK(line.find_first_of("\n\r") == std::string::npos);
    const auto back = parseDigestLine(line);
    TSFUZZ_CHECK(text.empty() ? !back : back && back->hex == hex && back->name == text);

    if (const auto entry = parseDigestLine(text)) {
        TSFUZZ_CHECK(entry->hex.size() == 64 && entry->hex.find_first_not_of("0123456789abcdef") == std::string::npos);
        const auto again = parseDigestLine(digestLine(entry->hex, entry->name));
        TSFUZZ_CHECK(again && again->hex == entry->hex && again->name == entry->name);
    }
    return 0;
}
