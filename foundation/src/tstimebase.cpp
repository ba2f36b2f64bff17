#include <foundation/tstimebase.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <ios>
#include <limits>
#include <sstream>

namespace Tessel::Base {

// Rates are single precision, and doubles from text are rounded to float by a plain conversion,
// which IEEE 754 defines for every value (beyond the float range it gives infinity).
static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559,
              "rate arithmetic relies on IEEE 754 floating point");

namespace {

constexpr unsigned long long kNtscDenominator = 1001;

// Tolerances and reference rates are single precision; each quotient is taken in float.
constexpr float kIntegralTolerance = 0.0001f;
constexpr float kNtscTolerance = 0.011f;
constexpr float kRate23_976 = 24000.0f / 1001.0f;
constexpr float kRate29_97 = 30000.0f / 1001.0f;
constexpr float kRate59_94 = 60000.0f / 1001.0f;

/// `value` rounded half away from zero and truncated to Integer, saturating at Integer's range;
/// NaN gives 0. The half is added in double, where the sum is exact for every float, so that
/// large odd floats do not round up to the next even integer.
template <class Integer>
Integer roundHalfAwayFromZero(double value) noexcept {
    if (std::isnan(value)) {
        return 0;
    }
    const double shifted = value < 0.0 ? value - 0.5 : value + 0.5;
    // Both bounds are powers of two and exact in double: [lowest, limit) truncates into Integer.
    constexpr double lowest = static_cast<double>(std::numeric_limits<Integer>::min());
    constexpr double limit = -lowest;
    if (shifted <= lowest) {
        return std::numeric_limits<Integer>::min();
    }
    if (shifted >= limit) {
        return std::numeric_limits<Integer>::max();
    }
    return static_cast<Integer>(shifted);
}

int roundTo32(float value) noexcept {
    return roundHalfAwayFromZero<int>(static_cast<double>(value));
}

/// True when `value` lies less than `tolerance` from `reference`, in single precision.
bool isNear(float value, float reference, float tolerance) noexcept {
    const float difference = std::fabs(value - reference);
    return difference < tolerance;
}

/// The C library's atoi without its undefined behaviour: strtol's result (which saturates at
/// the long range) clamped to the int range. In-range text gives atoi's result.
long long parseIntegerField(const char* text) noexcept {
    const int savedErrno = errno;
    const long value = std::strtol(text, nullptr, 10);
    errno = savedErrno;
    if (value < INT_MIN) {
        return INT_MIN;
    }
    if (value > INT_MAX) {
        return INT_MAX;
    }
    return value;
}

/// The C library's atof without its undefined behaviour: strtod, which gives +-HUGE_VAL for
/// text beyond the double range. Identical to atof otherwise.
double parseRate(const char* text) noexcept {
    const int savedErrno = errno;
    const double value = std::strtod(text, nullptr);
    errno = savedErrno;
    return value;
}

/// `value` in fixed notation with two decimals.
std::string fixedTwoDecimals(float value) {
    std::ostringstream text;
    text << std::fixed;
    text.precision(2);
    text << value;
    return text.str();
}

/// a * b in 64 bits, wrapping.
constexpr unsigned long long wrappingProduct(unsigned long long a, unsigned long long b) noexcept {
    return a * b;
}

/// The 64-bit pattern of `value` as a signed number (two's complement).
constexpr long long asSigned(unsigned long long value) noexcept {
    return static_cast<long long>(value);
}

/// Floor division of `frame` by the positive `period`, with the remainder in [0, period).
struct FloorDivision {
    long long quotient;
    long long remainder;
};

FloorDivision floorDivide(long long frame, long long period) noexcept {
    long long quotient = frame / period;
    long long remainder = frame % period;
    if (remainder < 0) {
        remainder += period;
        --quotient;
    }
    return {quotient, remainder};
}

/// table[remainder] + step * quotient, wrapping in 64 bits.
long long cadenceFrame(const FloorDivision& split, long long stepPerPeriod, const long long* table) noexcept {
    const unsigned long long base = static_cast<unsigned long long>(table[split.remainder]);
    const unsigned long long offset = wrappingProduct(static_cast<unsigned long long>(stepPerPeriod),
                                                      static_cast<unsigned long long>(split.quotient));
    return asSigned(base + offset);
}

constexpr long long kPulldown24To30[4] = {0, 1, 3, 4};
constexpr long long kPulldown30To24[5] = {0, 1, 1, 2, 3};

} // namespace

TimeBase::TimeBase(StandardRate code) noexcept {
    switch (code) {
    case k24: setRate(24.0f); break;
    case k25: setRate(25.0f); break;
    case k30: setRate(30.0f); break;
    case k50: setRate(50.0f); break;
    case k60: setRate(60.0f); break;
    case k23_976: set(24000ULL, kNtscDenominator); break;
    case k29_97: set(30000ULL, kNtscDenominator); break;
    case k59_94: set(60000ULL, kNtscDenominator); break;
    default: break; // not a standard code: stays 0/0
    }
}

TimeBase::TimeBase(const std::string& text) noexcept {
    const std::string::size_type slash = text.find('/');
    if (slash == std::string::npos) {
        setRate(static_cast<float>(parseRate(text.c_str())));
        return;
    }
    // strtol stops at the "/" (and at a NUL), so parsing from the start reads exactly the text
    // before the slash, without copying it.
    const long long num = parseIntegerField(text.c_str());
    const long long den = parseIntegerField(text.c_str() + slash + 1);
    set(static_cast<unsigned long long>(num), static_cast<unsigned long long>(den));
}

void TimeBase::set(unsigned long long rate, bool ntsc) noexcept {
    if (rate == 0) {
        set(0ULL, 0ULL);
    } else if (ntsc) {
        set(wrappingProduct(rate, 1000ULL), kNtscDenominator);
    } else {
        set(rate, 1ULL);
    }
}

void TimeBase::setRate(float rate) noexcept {
    if (std::fabs(rate) < kIntegralTolerance) {
        set(0ULL, 1ULL);
        return;
    }
    const float nearestInteger = static_cast<float>(roundTo32(rate));
    if (isNear(nearestInteger, rate, kIntegralTolerance)) {
        const long long whole = roundHalfAwayFromZero<long long>(static_cast<double>(rate));
        set(static_cast<unsigned long long>(whole), 1ULL);
    } else if (isNear(rate, kRate23_976, kNtscTolerance)) {
        set(24000ULL, kNtscDenominator);
    } else if (isNear(rate, kRate29_97, kNtscTolerance)) {
        set(30000ULL, kNtscDenominator);
    } else if (isNear(rate, kRate59_94, kNtscTolerance)) {
        set(60000ULL, kNtscDenominator);
    } else {
        const long long hundredths = roundHalfAwayFromZero<long long>(static_cast<double>(rate) * 100.0);
        set(static_cast<unsigned long long>(hundredths), 100ULL);
    }
}

float TimeBase::rate() const noexcept {
    if (denominator == 0) {
        return 0.0f;
    }
    const float num = static_cast<float>(numerator);
    const float den = static_cast<float>(denominator);
    return num / den;
}

long long TimeBase::roundedRate() const noexcept {
    return roundTo32(rate());
}

bool TimeBase::isNtscRate() const noexcept {
    const float value = rate();
    return isNear(value, kRate23_976, kNtscTolerance) || isNear(value, kRate29_97, kNtscTolerance) ||
           isNear(value, kRate59_94, kNtscTolerance);
}

bool TimeBase::isDropFrameRate() const noexcept {
    const float value = rate();
    return isNear(value, kRate29_97, kNtscTolerance) || isNear(value, kRate59_94, kNtscTolerance);
}

bool TimeBase::operator==(const TimeBase& other) const noexcept {
    const bool valid = denominator != 0;
    if (valid != (other.denominator != 0)) {
        return false;
    }
    return isNear(rate(), other.rate(), kIntegralTolerance);
}

std::string TimeBase::rateText() const {
    if (denominator == 0) {
        return "Invalid";
    }
    const float value = rate();
    if (denominator == kNtscDenominator || isNtscRate()) {
        return fixedTwoDecimals(value);
    }
    const float nearestInteger = static_cast<float>(roundTo32(value));
    const float difference = std::fabs(nearestInteger - value);
    if (difference <= kIntegralTolerance) {
        std::ostringstream text;
        text << roundedRate();
        return text.str();
    }
    return fixedTwoDecimals(value);
}

std::string TimeBase::fractionText() const {
    return std::to_string(numerator) + "/" + std::to_string(denominator);
}

long long TimeBase::convertFrame(long long frame, const TimeBase& from, const TimeBase& to) noexcept {
    if (from.numerator == 0 || from.denominator == 0 || to.numerator == 0 || to.denominator == 0 ||
        from == to) {
        return frame;
    }
    const unsigned long long n =
        wrappingProduct(wrappingProduct(to.numerator, from.denominator), static_cast<unsigned long long>(frame));
    const long long d = asSigned(wrappingProduct(to.denominator, from.numerator));
    if (d == 0) {
        return frame;
    }
    // n + d/2 - 1 with d/2 truncating toward zero, wrapping like the products.
    const long long dividend = asSigned(n + static_cast<unsigned long long>(d / 2) - 1ULL);
    if (d == -1 && dividend == std::numeric_limits<long long>::min()) {
        return std::numeric_limits<long long>::min(); // the one quotient beyond the range
    }
    return dividend / d;
}

double TimeBase::convertPosition(double position, const TimeBase& from, const TimeBase& to) noexcept {
    if (from.denominator == 0 || to.denominator == 0 || from.numerator == 0) {
        return position;
    }
    const long long divisor = asSigned(wrappingProduct(from.numerator, to.denominator));
    if (divisor == 0) {
        return position;
    }
    const double toNumerator = static_cast<double>(asSigned(to.numerator));
    const double fromDenominator = static_cast<double>(asSigned(from.denominator));
    return toNumerator * position * fromDenominator / static_cast<double>(divisor);
}

long long TimeBase::convertFramePulldown(long long frame, const TimeBase& from, const TimeBase& to) noexcept {
    const long long fromRate = from.roundedRate();
    const long long toRate = to.roundedRate();
    if (fromRate == 24 && toRate == 30) {
        return cadenceFrame(floorDivide(frame, 4), 5, kPulldown24To30);
    }
    if (fromRate == 30 && toRate == 24) {
        return cadenceFrame(floorDivide(frame, 5), 4, kPulldown30To24);
    }
    return convertFrame(frame, from, to);
}

} // namespace Tessel::Base
