#include <foundation/tstimecode.h>

#include <cstddef>

namespace Tessel::Base {

namespace {

// Each kind of refusal has its own text, so that a host (and a test) can tell them apart.
const char* const kInvalidRate =
    "the frame rate is invalid: it needs a non-zero denominator and at least one frame a second";
const char* const kNoDropFrameToWrite =
    "drop-frame timecode exists only at 29.97 and 59.94 frames a second";
const char* const kNoDropFrameToRead =
    "the ';' before the frames marks a drop-frame label, and this frame rate has no drop-frame";
const char* const kBlanks = "leading or trailing blanks are not part of a timecode";
const char* const kMalformed = "a timecode reads HH:MM:SS:FF, or HH:MM:SS;FF for drop-frame";
const char* const kClockDigits = "hours, minutes and seconds take exactly two decimal digits each";
const char* const kFrameDigits =
    "the frames take exactly two decimal digits, or as many as the largest frame number needs at "
    "rates above 100 frames a second";
const char* const kHours = "hours must be below 24";
const char* const kMinutes = "minutes must be below 60";
const char* const kSeconds = "seconds must be below 60";
const char* const kFrames = "the frames must be below the frames of one second at this rate";
const char* const kSkippedLabel =
    "drop-frame skips this label: frames 0 and 1 (0 to 3 at 59.94) of every minute except "
    "minutes 0, 10, 20, 30, 40 and 50 have no label";

// The label text kept in an exception: enough to recognise it, never a whole hostile input.
constexpr std::size_t kMaxTextInException = 64;

constexpr long long kSecondsPerMinute = 60;
constexpr long long kSecondsPerDay = 86400;
constexpr long long kMinutesPerHour = 60;
constexpr long long kHoursPerDay = 24;
// Per day, drop-frame skips labels in every minute but the tenth: 24 hours x 6 x 9 minutes.
constexpr long long kDroppingMinutesPerDay = kHoursPerDay * 6 * 9;

[[noreturn]] void refuse(const char* function, const std::string& text, const TimeBase& rate,
                         const char* reason) {
    TS_THROW(TimecodeException, function, ExceptionInfo<std::string>("Text", text),
             ExceptionInfo<std::string>("Rate", rate.fractionText()), ExceptionInfo<std::string>("Reason", reason));
}

[[noreturn]] void refuseText(const std::string& text, const TimeBase& rate, const char* reason) {
    std::string kept = text.substr(0, kMaxTextInException);
    if (text.size() > kMaxTextInException) {
        kept += "...";
    }
    refuse("Tessel::Base::timecodeFrame", kept, rate, reason);
}

/// How labels count at one rate: nominal labels per second, labels skipped at the start of a
/// dropping minute (0 without drop-frame), and the width of the frames field.
struct LabelClock {
    long long perSecond;
    long long dropped;
    int frameDigits;

    long long perMinute() const noexcept { return perSecond * kSecondsPerMinute; }
    long long perDay() const noexcept { return perSecond * kSecondsPerDay - dropped * kDroppingMinutesPerDay; }
    /// Labels in ten minutes: the first minute keeps all of its labels, the other nine drop some.
    long long perTenMinutes() const noexcept { return 10 * perMinute() - 9 * dropped; }
};

/// The clock of `rate`, or 0 labels a second when the rate is invalid. Drop-frame rates lie near
/// 30000/1001 and 60000/1001, so their nominal rates are 30 and 60 and skip 2 and 4 labels; at
/// any other rate nothing is skipped (asking for drop-frame there is refused by the callers).
LabelClock clockOf(const TimeBase& rate, bool dropFrame) noexcept {
    const long long perSecond = rate.denominator == 0 ? 0 : rate.roundedRate();
    int digits = 2;
    for (long long largest = perSecond - 1; largest >= 100; largest /= 10) {
        ++digits;
    }
    const bool drops = dropFrame && rate.isDropFrameRate();
    return {perSecond, drops ? perSecond / 15 : 0, digits};
}

/// Writes `value` as exactly `digits` decimal digits, ending just before `end`.
void writeDigits(char* end, int digits, long long value) noexcept {
    for (int i = 0; i < digits; ++i) {
        *--end = static_cast<char>('0' + value % 10);
        value /= 10;
    }
}

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

bool isBlank(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The value of text[first, last) when it is exactly `digits` decimal digits, else -1.
long long readDigits(const std::string& text, std::size_t first, std::size_t last, int digits) noexcept {
    if (last - first != static_cast<std::size_t>(digits)) {
        return -1;
    }
    long long value = 0;
    for (std::size_t i = first; i < last; ++i) {
        if (!isDigit(text[i])) {
            return -1;
        }
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

} // namespace

TimecodeException::TimecodeException() {
    *this << ExceptionInfo<std::string>(
        "UserMessage", "Can't convert '%%(Text)%%' at frame rate %%(Rate)%% to or from timecode: %%(Reason)%%.");
}

TimecodeException::~TimecodeException() = default;

std::string timecodeText(long long frame, const TimeBase& rate, bool dropFrame) {
    const LabelClock clock = clockOf(rate, dropFrame);
    if (clock.perSecond < 1) {
        refuse("Tessel::Base::timecodeText", std::to_string(frame), rate, kInvalidRate);
    }
    if (dropFrame && !rate.isDropFrameRate()) {
        refuse("Tessel::Base::timecodeText", std::to_string(frame), rate, kNoDropFrameToWrite);
    }

    // The label of the day, counted from midnight whatever the sign of `frame`.
    const long long perDay = clock.perDay();
    long long label = frame % perDay;
    if (label < 0) {
        label += perDay;
    }
    // Back to a nominal count, as if no label were skipped: add the labels skipped by every
    // whole ten minutes and by the dropping minutes begun in the current ten.
    if (clock.dropped != 0) {
        const long long tens = label / clock.perTenMinutes();
        const long long intoTen = label % clock.perTenMinutes();
        const long long droppingMinutes =
            intoTen < clock.dropped ? 0 : (intoTen - clock.dropped) / (clock.perMinute() - clock.dropped);
        label += clock.dropped * (9 * tens + droppingMinutes);
    }

    const long long seconds = label / clock.perSecond;
    char text[32];
    char* const end = text + 9 + clock.frameDigits;
    writeDigits(text + 2, 2, seconds / (kSecondsPerMinute * kMinutesPerHour));
    writeDigits(text + 5, 2, seconds / kSecondsPerMinute % kMinutesPerHour);
    writeDigits(text + 8, 2, seconds % kSecondsPerMinute);
    writeDigits(end, clock.frameDigits, label % clock.perSecond);
    text[2] = ':';
    text[5] = ':';
    text[8] = dropFrame ? ';' : ':';
    return std::string(text, end);
}

long long timecodeFrame(const std::string& text, const TimeBase& rate) {
    // The separator before the frames decides drop-frame; look for it before anything else.
    std::size_t separators[3] = {};
    int separatorCount = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ':' || text[i] == ';') {
            if (separatorCount == 3) {
                separatorCount = 4; // too many: malformed
                break;
            }
            separators[separatorCount++] = i;
        }
    }
    const bool dropFrame = separatorCount == 3 && text[separators[2]] == ';';
    const LabelClock clock = clockOf(rate, dropFrame);

    if (clock.perSecond < 1) {
        refuseText(text, rate, kInvalidRate);
    }
    if (!text.empty() && (isBlank(text.front()) || isBlank(text.back()))) {
        refuseText(text, rate, kBlanks);
    }
    if (separatorCount != 3 || text[separators[0]] != ':' || text[separators[1]] != ':') {
        refuseText(text, rate, kMalformed);
    }
    const long long hours = readDigits(text, 0, separators[0], 2);
    const long long minutes = readDigits(text, separators[0] + 1, separators[1], 2);
    const long long seconds = readDigits(text, separators[1] + 1, separators[2], 2);
    const long long frames = readDigits(text, separators[2] + 1, text.size(), clock.frameDigits);
    if (hours < 0 || minutes < 0 || seconds < 0) {
        refuseText(text, rate, kClockDigits);
    }
    if (frames < 0) {
        refuseText(text, rate, kFrameDigits);
    }
    if (dropFrame && !rate.isDropFrameRate()) {
        refuseText(text, rate, kNoDropFrameToRead);
    }
    if (hours >= kHoursPerDay) {
        refuseText(text, rate, kHours);
    }
    if (minutes >= kMinutesPerHour) {
        refuseText(text, rate, kMinutes);
    }
    if (seconds >= kSecondsPerMinute) {
        refuseText(text, rate, kSeconds);
    }
    if (frames >= clock.perSecond) {
        refuseText(text, rate, kFrames);
    }

    const long long totalMinutes = hours * kMinutesPerHour + minutes;
    const long long nominal = (totalMinutes * kSecondsPerMinute + seconds) * clock.perSecond + frames;
    if (clock.dropped == 0) {
        return nominal;
    }
    if (minutes % 10 != 0 && seconds == 0 && frames < clock.dropped) {
        refuseText(text, rate, kSkippedLabel);
    }
    // Every minute so far that is not a tenth one skipped its first labels.
    return nominal - clock.dropped * (totalMinutes - totalMinutes / 10);
}

} // namespace Tessel::Base
