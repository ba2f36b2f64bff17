// Fuzz target: timecodeFrame on untrusted text, timecodeText on any frame count. Input: a rate
// byte (standard and edge rates; 15 reads 16 bytes of fields), a drop-frame byte, 8 bytes of
// frame count, then the text. Invariants: only TimecodeException is thrown; an accepted text is
// a frame of the day that writes back as exactly that text; a written label reads back as the
// frame modulo the labels of a day (one more than the frame of the day's last label, -1).

#include <foundation/tstimecode.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace Tessel::Base;

#define CHECK(condition) \
    ((condition) ? (void)0 : (std::fprintf(stderr, "INVARIANT BROKEN: %s\n", #condition), std::abort()))

static unsigned long long take(const std::uint8_t*& data, std::size_t& size, std::size_t bytes) {
    unsigned long long value = 0;
    bytes = bytes < size ? bytes : size;
    std::memcpy(&value, data, bytes);
    data += bytes;
    size -= bytes;
    return value;
}

/// The frame of the last label of a day, or -1 when this rate and flag have no labels.
static long long lastOfDay(const TimeBase& rate, bool dropFrame) {
    try {
        return timecodeFrame(timecodeText(-1, rate, dropFrame), rate);
    } catch (const TimecodeException&) {
        return -1;
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const unsigned long long rates[15][2] = {
        {24, 1}, {25, 1}, {30, 1}, {50, 1}, {60, 1}, {24000, 1001}, {30000, 1001}, {60000, 1001},
        {1, 2},  {1, 3},  {0, 0},  {100, 1}, {101, 1}, {1001, 1}, {2997, 100}};
    const auto code = take(data, size, 1) % 16;
    const bool dropFrame = (take(data, size, 1) & 1) != 0;
    TimeBase rate;
    rate.numerator = code < 15 ? rates[code][0] : take(data, size, 8);
    rate.denominator = code < 15 ? rates[code][1] : take(data, size, 8);
    const auto frame = static_cast<long long>(take(data, size, 8));
    const std::string text(reinterpret_cast<const char*>(data), size);

    const long long perDay = lastOfDay(rate, dropFrame) + 1;
    try {
        const std::string label = timecodeText(frame, rate, dropFrame);
        const long long parsed = timecodeFrame(label, rate);
        CHECK(perDay > 0 && (frame % perDay + perDay) % perDay == parsed);
        CHECK(timecodeText(parsed, rate, dropFrame) == label);
    } catch (const TimecodeException&) {
        CHECK(perDay == 0);
    }
    try {
        const long long parsed = timecodeFrame(text, rate);
        const bool textDropFrame = text.find(';') != std::string::npos;
        CHECK(parsed >= 0 && parsed <= lastOfDay(rate, textDropFrame));
        CHECK(timecodeText(parsed, rate, textDropFrame) == text);
    } catch (const TimecodeException&) {
    }
    return 0;
}
