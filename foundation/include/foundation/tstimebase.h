#ifndef TESSEL_FOUNDATION_TSTIMEBASE_H
#define TESSEL_FOUNDATION_TSTIMEBASE_H

/// @file
/// TimeBase: a frame rate held as an exact fraction, its text forms, its NTSC and drop-frame
/// flags, and the conversion of frame counts and positions between rates.
///
///     const Tessel::Base::TimeBase ntsc("29.97");              // 30000/1001
///     std::string text = ntsc.rateText();                      // "29.97"
///     bool drop = ntsc.isDropFrameRate();                      // true
///     const Tessel::Base::TimeBase film(24, false), pal(25, false), video(Tessel::Base::TimeBase::k30);
///     Tessel::Base::TimeBase::convertFrame(13, film, pal);          // 14
///     Tessel::Base::TimeBase::convertFramePulldown(2, film, video); // 3, by the 2:3 cadence

#include <foundation/tsexport.h>

#include <string>

namespace Tessel::Base {

/// A rate (frames per second) held as an exact fraction `numerator` / `denominator`.
///
/// A denominator of 0 marks an invalid value; the default value 0/0 is invalid. Fractions are not
/// reduced: 50/2 and 25/1 are different contents of the same rate, and compare equal. The rate
/// itself is computed in single precision. A plain value: every field value is allowed, and no
/// operation throws or has undefined behaviour for any field values or arguments.
class TS_API TimeBase {
public:
    /// Codes of the standard film and video rates.
    enum StandardRate : int {
        k24,     ///< 24/1
        k25,     ///< 25/1
        k30,     ///< 30/1
        k50,     ///< 50/1
        k60,     ///< 60/1
        k23_976, ///< 24000/1001
        k29_97,  ///< 30000/1001
        k59_94   ///< 60000/1001
    };

    /// Numerator of the rate. A negative argument of a signed constructor is stored as its
    /// 64-bit two's complement pattern.
    unsigned long long numerator = 0;
    /// Denominator of the rate; 0 marks an invalid value.
    unsigned long long denominator = 0;

    /// 0/0, invalid.
    TimeBase() noexcept = default;
    /// The fraction of a standard rate; a code outside k24..k59_94 gives 0/0.
    explicit TimeBase(StandardRate code) noexcept;
    /// `rate`/1, or (`rate` * 1000)/1001 when `ntsc` (30 gives 30000/1001); 0 gives 0/0.
    TimeBase(unsigned long long rate, bool ntsc) noexcept { set(rate, ntsc); }
    /// As the unsigned form, `rate` widened with its sign.
    TimeBase(long long rate, bool ntsc) noexcept { set(static_cast<unsigned long long>(rate), ntsc); }
    /// As the 64-bit form, `rate` widened with zeros.
    TimeBase(unsigned int rate, bool ntsc) noexcept { set(static_cast<unsigned long long>(rate), ntsc); }
    /// As the 64-bit form, `rate` widened with its sign.
    TimeBase(int rate, bool ntsc) noexcept { set(static_cast<unsigned long long>(static_cast<long long>(rate)), ntsc); }
    /// `num`/`den`, both widened with zeros.
    TimeBase(unsigned int num, unsigned int den) noexcept : numerator(num), denominator(den) {}
    /// `num`/`den`, `num` widened with zeros and `den` with its sign.
    TimeBase(unsigned int num, int den) noexcept
        : numerator(num), denominator(static_cast<unsigned long long>(static_cast<long long>(den))) {}
    /// `num`/`den`, both widened with their sign.
    TimeBase(int num, int den) noexcept
        : numerator(static_cast<unsigned long long>(static_cast<long long>(num))),
          denominator(static_cast<unsigned long long>(static_cast<long long>(den))) {}
    /// The fraction setRate(`rate`) chooses.
    explicit TimeBase(float rate) noexcept { setRate(rate); }
    /// Parses `text`: without a "/" the whole text is read as a decimal rate (as by atof, rounded
    /// to float) and given to setRate ('29.97' gives 30000/1001, '' gives 0/1); otherwise the
    /// integers before and after the first "/" (as by atoi, widened with their sign) are the
    /// numerator and denominator ('30000/1001'; 'x/y' gives 0/0). Text that is no number reads
    /// as 0; out-of-range integers clamp to the int range, out-of-range rates become infinite.
    explicit TimeBase(const std::string& text) noexcept;

    /// `rate`/1, or (`rate` * 1000)/1001 (wrapping in 64 bits) when `ntsc`; 0 gives 0/0.
    void set(unsigned long long rate, bool ntsc) noexcept;
    /// Stores `num` and `den` unchanged, a `den` of 0 included.
    void set(unsigned long long num, unsigned long long den) noexcept {
        numerator = num;
        denominator = den;
    }
    /// Chooses a fraction for `rate`: 0/1 near zero, n/1 for a near-integer, 24000/1001,
    /// 30000/1001 or 60000/1001 within 0.011 of those rates, else hundredths (12.5 gives
    /// 1250/100). Out-of-range roundings saturate; NaN gives 0/100.
    void setRate(float rate) noexcept;

    /// `numerator` / `denominator` in single precision; 0.0 when invalid.
    float rate() const noexcept;
    /// rate() rounded half away from zero to a 32-bit integer (saturating), widened; 0 when
    /// invalid.
    long long roundedRate() const noexcept;
    /// Both fields.
    void get(unsigned long long& num, unsigned long long& den) const noexcept {
        num = numerator;
        den = denominator;
    }
    /// The low 32 bits of both fields.
    void get(unsigned int& num, unsigned int& den) const noexcept {
        num = static_cast<unsigned int>(numerator);
        den = static_cast<unsigned int>(denominator);
    }
    /// True when rate() lies within 0.011 of 24000/1001, 30000/1001 or 60000/1001.
    bool isNtscRate() const noexcept;
    /// True when rate() lies within 0.011 of 30000/1001 or 60000/1001.
    bool isDropFrameRate() const noexcept;

    /// Equal when both are invalid, or both valid with rates less than 0.0001 apart (25/1 equals
    /// 50/2, 30000/1001 equals 2997/100).
    bool operator==(const TimeBase& other) const noexcept;
    /// Negation of ==.
    bool operator!=(const TimeBase& other) const noexcept { return !(*this == other); }

    /// The rate as text: "Invalid"; two decimals for NTSC-like rates ('29.97'); the integer for
    /// integral rates ('25'); else two decimals ('12.50').
    std::string rateText() const;
    /// "numerator/denominator" as unsigned decimals: '30000/1001', '0/0'.
    std::string fractionText() const;

    /// Rescales the frame count `frame` at rate `from` to rate `to`, rounding to the nearest frame
    /// (an exact half rounds down for positive counts): 12 at 24/1 is 12 at 25/1, 13 is 14.
    /// Returns `frame` unchanged when a field of either rate is 0, when the rates are equal, or
    /// when the divisor wraps to 0. The products wrap in 64 bits.
    static long long convertFrame(long long frame, const TimeBase& from, const TimeBase& to) noexcept;
    /// Rescales the position `position` at rate `from` to rate `to` without rounding. Returns
    /// `position` unchanged when either denominator or `from`'s numerator is 0, or when the
    /// divisor wraps to 0.
    static double convertPosition(double position, const TimeBase& from, const TimeBase& to) noexcept;
    /// Converts `frame` with the 2:3 cadence when the rates round to 24 and 30 (0, 1, 2, 3 ->
    /// 0, 1, 3, 4 and on in steps of 5) or to 30 and 24 (0..4 -> 0, 1, 1, 2, 3 and on in steps
    /// of 4), repeating the cadence for negative frames; otherwise convertFrame().
    static long long convertFramePulldown(long long frame, const TimeBase& from, const TimeBase& to) noexcept;
};

} // namespace Tessel::Base

#endif
