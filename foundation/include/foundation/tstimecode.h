#ifndef TESSEL_FOUNDATION_TSTIMECODE_H
#define TESSEL_FOUNDATION_TSTIMECODE_H

/// @file
/// SMPTE timecode labels for frame counts, and frame counts for labels, at any valid frame rate,
/// with drop-frame labels at 29.97 and 59.94 frames a second. Every refusal throws a
/// TimecodeException that says why.
///
///     const Tessel::Base::TimeBase ntsc(Tessel::Base::TimeBase::k29_97);
///     std::string label = Tessel::Base::timecodeText(107892, ntsc, true); // "01:00:00;00"
///     long long frame = Tessel::Base::timecodeFrame("00:10:00;00", ntsc);  // 17982
///     Tessel::Base::timecodeFrame("00:01:00;00", ntsc); // throws: drop-frame skips this label
///
/// Labels count frames from 0 = "00:00:00:00" in whole nominal seconds of roundedRate() labels
/// (24 at 24000/1001, 30 at 30000/1001) and cover one day, from "00:00:00:00" to
/// "23:59:59:FF". Drop-frame labels skip frames 0 and 1 (0 to 3 at 59.94) of every minute except
/// minutes 0, 10, 20, 30, 40 and 50, so that the labels keep pace with the clock.

#include <foundation/tsexception.h>
#include <foundation/tsexport.h>
#include <foundation/tstimebase.h>

#include <string>

namespace Tessel::Base {

/// A frame count or a timecode label was refused.
///
/// User message: "Can't convert '%%(Text)%%' at frame rate %%(Rate)%% to or from timecode:
/// %%(Reason)%%." Items: "Text" (the label given to timecodeFrame, cut after 64 characters and
/// then ending in "...", or the decimal frame count given to timecodeText), "Rate" (the rate's
/// fractionText(), e.g. "30000/1001") and "Reason" (one fixed text per kind of refusal).
class TS_API TimecodeException : public Exception {
public:
    /// Adds the user-message template.
    TimecodeException();
    /// Copies the items and the chain of earlier exceptions.
    TimecodeException(const TimecodeException& other) = default;
    /// Deletes the items.
    ~TimecodeException() override;
};

/// The SMPTE label of `frame` at `rate`: "HH:MM:SS:FF", or "HH:MM:SS;FF" when `dropFrame`.
///
/// Frames are numbered from 0 = "00:00:00:00"; a count outside one day wraps in both directions,
/// so frame -1 is the last label of the day ("23:59:59;29" at 29.97 drop-frame). A day holds
/// 86400 x roundedRate() labels without drop-frame, and 2,589,408 (29.97) or 5,178,816 (59.94)
/// with it. Hours, minutes and seconds take two digits; the frames take two digits up to 100
/// frames a second and as many as the largest frame number needs above that (three up to 1000).
///
/// @throws TimecodeException when `rate` is invalid (denominator 0, or roundedRate() below 1),
///         or when `dropFrame` is asked for at a rate where isDropFrameRate() does not hold
///         (23.976 and 30/1 included). Nothing else throws but a failed allocation.
TS_API std::string timecodeText(long long frame, const TimeBase& rate, bool dropFrame);

/// The frame count of the SMPTE label `text` at `rate`, from 0 to the labels of a day less one:
/// the inverse of timecodeText, so `timecodeFrame(timecodeText(f, r, d), r)` is `f` modulo the
/// labels of a day. A ";" before the frames marks a drop-frame label, ":" a plain one.
///
/// @throws TimecodeException, with its own "Reason" each, when `rate` is invalid; when the text
///         has leading or trailing blanks; when it is not four fields parted by ":", ":" and
///         ":" or ";"; when hours, minutes or seconds are not exactly two decimal digits, or the
///         frames not exactly as many as timecodeText writes at `rate`; when the label is
///         drop-frame and `rate` has no drop-frame; when hours reach 24, minutes or seconds 60,
///         or the frames roundedRate(); and when drop-frame skips the label ("00:01:00;00").
TS_API long long timecodeFrame(const std::string& text, const TimeBase& rate);

} // namespace Tessel::Base

#endif
