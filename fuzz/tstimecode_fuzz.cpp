// Fuzz target: timecodeFrame on untrusted text, and timecodeText on any frame count.
//
// Input: a rate code byte (a standard rate, a few edge rates, or 16 bytes of arbitrary fields), a
// drop-frame flag byte, 8 bytes of frame count, then the label text.
//
// Invariants: nothing but a TimecodeException is thrown (the sanitizers catch the rest); whether
// timecodeText refuses depends on the rate and the flag only; an accepted text reads as a frame
// of the day that writes back as exactly that text; a written label reads back as the frame
// modulo the labels of a day, which is one more than the frame of the day's last label (-1).

#include <foundation/tstimecode.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace Tessel::Base;

#define CHECK(condition) \
    ((condition) ? (void)0 : (std::fprintf(stderr, "INVARIANT BROKEN: %s\n", #condition), std::abort()))

namespace {

unsigned long long take(const std::uint8_t*& data, std::size_t& size) {
    unsigned long long value = 0;
    const std::size_t n = size < sizeof value ? size : sizeof value;
    std::memcpy(&value, data, n);
    data += n;
    size -= n;
    return value;
}

TimeBase rateFor(std::uint8_t code, const std::uint8_t*& data, std::size_t& size) {
    static const unsigned long long edges[][2] = {{1, 2}, {1, 3}, {0, 0}, {100, 1}, {101, 1}, {1001, 1}, {2997, 100}};
    TimeBase rate;
    if (code < 8) {
        rate = TimeBase(static_cast<TimeBase::StandardRate>(code));
    } else if (code < 15) {
        rate.set(edges[code - 8][0], edges[code - 8][1]);
    } else {
        rate.numerator = take(data, size);
        rate.denominator = take(data, size);
    }
    return rate;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::uint8_t code = size > 0 ? data[0] % 16 : 0;
    const bool dropFrame = size > 1 && (data[1] & 1) != 0;
    data += size > 2 ? 2 : size;
    size -= size > 2 ? 2 : size;
    const TimeBase rate = rateFor(code, data, size);
    const auto frame = static_cast<long long>(take(data, size));
    const std::string text(reinterpret_cast<const char*>(data), size);

    long long perDay = 0; // 0: this rate and flag write no labels
    try {
        perDay = timecodeFrame(timecodeText(-1, rate, dropFrame), rate) + 1;
    } catch (const TimecodeException&) {
    }
    try {
        const std::string label = timecodeText(frame, rate, dropFrame);
        const long long parsed = timecodeFrame(label, rate);
        CHECK(perDay > 0 && parsed >= 0 && parsed < perDay);
        CHECK((frame % perDay + perDay) % perDay == parsed && timecodeText(parsed, rate, dropFrame) == label);
    } catch (const TimecodeException&) {
        CHECK(perDay == 0);
    }
    try {
        const long long parsed = timecodeFrame(text, rate);
        const bool textDropFrame = text.find(';') != std::string::npos;
        CHECK(parsed >= 0 && parsed <= timecodeFrame(timecodeText(-1, rate, textDropFrame), rate));
        CHECK(timecodeText(parsed, rate, textDropFrame) == text);
    } catch (const TimecodeException&) {
    }
    return 0;
}
