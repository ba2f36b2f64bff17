// SMPTE timecode: checked labels in both directions, whole drop-frame days, and every refusal.

#include <foundation/tstimecode.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <set>
#include <string>
#include <utility>

namespace {

using namespace Tessel::Base;

const TimeBase k2997(TimeBase::k29_97);
const TimeBase k5994(TimeBase::k59_94);
const TimeBase k25(TimeBase::k25);

// `frame` writes as `text`, which reads back as `parsed` (the frame modulo the labels of a day).
TEST(Timecode, CheckedLabelsBothWays) {
    const struct {
        long long frame; TimeBase rate; bool dropFrame; const char* text; long long parsed; const char* why;
    } rows[] = {
        {1800, k2997, true, "00:01:00;02", 1800, "minute 1 starts at label 2"},
        {17982, k2997, true, "00:10:00;00", 17982, "a tenth minute keeps labels 0 and 1"},
        {-1, k2997, true, "23:59:59;29", 2589407, "wraps backwards to the last label of the day"},
        {LLONG_MIN, k2997, true, "01:37:44;00", 175744, "the most negative count"},
        {3600, k5994, true, "00:01:00;04", 3600, "59.94 skips labels 0 to 3"},
        {LLONG_MAX, k5994, true, "23:11:07;59", 5003071, "59.94: wraps forwards, 5,178,816 a day"},
        {-1, k2997, false, "23:59:59:29", 2591999, "29.97 non-drop: 30 a second, 2,592,000 a day"},
        {90000, k25, false, "01:00:00:00", 90000, "25 a second"},
        {86400, TimeBase(TimeBase::k23_976), false, "01:00:00:00", 86400, "23.976 counts 24 a second"},
        {1, TimeBase(1u, 2u), false, "00:00:01:00", 1, "half a frame a second rounds to one label"},
        {99, TimeBase(100u, 1u), false, "00:00:00:99", 99, "two frame digits up to 100 a second"},
        {119, TimeBase(120u, 1u), false, "00:00:00:119", 119, "three frame digits above 100"},
        {1000, TimeBase(1001u, 1u), false, "00:00:00:1000", 1000, "four frame digits above 1000"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(timecodeText(row.frame, row.rate, row.dropFrame), row.text) << row.why;
        EXPECT_EQ(timecodeFrame(row.text, row.rate), row.parsed) << row.why;
    }
}

// Every label of a drop-frame day reads back as its frame, and the fixed-width labels strictly
// increase, so none repeats or is out of order. TSD_TIMECODE_STRIDE=N visits every Nth frame
// only, for slow runners (scripts/run-valgrind.sh sets it).
TEST(Timecode, WholeDropFrameDaysRoundTrip) {
    const char* strideText = std::getenv("TSD_TIMECODE_STRIDE");
    const long long stride = strideText == nullptr ? 1 : std::max(1LL, std::atoll(strideText));
    for (const auto& [rate, perDay] : {std::pair{k2997, 2589408LL}, std::pair{k5994, 5178816LL}}) {
        std::string previous;
        long long broken = 0;
        for (long long frame = 0; frame < perDay; frame += stride) {
            std::string text = timecodeText(frame, rate, true);
            if ((timecodeFrame(text, rate) != frame || text <= previous) && broken++ == 0) {
                ADD_FAILURE() << "frame " << frame << " gave " << text << " after " << previous;
            }
            previous = std::move(text);
        }
        EXPECT_EQ(broken, 0) << rate.fractionText();
    }
}

TEST(Timecode, EveryRefusalNamesItsOwnReasonAndSite) {
    const std::string tooLong(100, '7'); // last, so that the message checked below is its own
    // text: null to write frame 0 as a drop-frame label instead of reading
    const struct { const char* text; TimeBase rate; const char* reasonPart; } rows[] = {
        {"00:00:00:00", TimeBase(1u, 3u), "frame rate is invalid"},
        {nullptr, TimeBase(), "frame rate is invalid"},
        {nullptr, TimeBase(TimeBase::k30), "exists only at 29.97 and 59.94"},
        {nullptr, TimeBase(TimeBase::k23_976), "exists only at 29.97 and 59.94"},
        {"00:00:00:00\n", k25, "blanks"},
        {"", k25, "reads HH:MM:SS:FF"},
        {"00:0a:00:00", k25, "hours, minutes and seconds take exactly two"},
        {"00:00:00:000", k25, "frames take exactly two"},
        {"00:00:00;00", TimeBase(TimeBase::k23_976), "this frame rate has no drop-frame"},
        {"24:00:00:00", k25, "hours must be below 24"},
        {"00:60:00:00", k25, "minutes must be below 60"},
        {"00:00:60:00", k25, "seconds must be below 60"},
        {"00:00:00;30", k2997, "frames must be below"},
        {"00:01:00;00", k2997, "drop-frame skips this label"},
        {tooLong.c_str(), k2997, "reads HH:MM:SS:FF"},
    };
    std::set<std::string> distinct;
    std::string message;
    for (const auto& row : rows) {
        std::string reason = "(accepted)";
        try {
            row.text == nullptr ? (void)timecodeText(0, row.rate, true) : (void)timecodeFrame(row.text, row.rate);
        } catch (const TimecodeException& refusal) {
            reason = *refusal.getValue<std::string>("Reason");
            message = refusal.userMessage();
            EXPECT_EQ(*refusal.getValue<std::string>("ThrowFunction"),
                      row.text ? "Tessel::Base::timecodeFrame" : "Tessel::Base::timecodeText");
        }
        EXPECT_NE(reason.find(row.reasonPart), std::string::npos) << (row.text ? row.text : "writing");
        distinct.insert(reason);
    }
    EXPECT_EQ(distinct.size(), 12u) << "each kind of refusal has a text of its own";
    EXPECT_EQ(message, "Can't convert '" + std::string(64, '7') + "...' at frame rate 30000/1001 to or from "
                       "timecode: a timecode reads HH:MM:SS:FF, or HH:MM:SS;FF for drop-frame.") << "the text cut";
}

} // namespace
