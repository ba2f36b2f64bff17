// SMPTE timecode: checked labels in both directions, whole drop-frame days, and every refusal.

#include <foundation/tstimecode.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <functional>
#include <set>
#include <string>
#include <utility>

namespace {

using namespace Tessel::Base;

TimeBase fraction(unsigned long long num, unsigned long long den) {
    TimeBase rate;
    rate.set(num, den);
    return rate;
}

const TimeBase k2997(TimeBase::k29_97);
const TimeBase k5994(TimeBase::k59_94);

// `frame` writes as `text`, which reads back as `parsed` (the frame modulo the labels of a day).
struct LabelRow {
    long long frame;
    TimeBase rate;
    bool dropFrame;
    const char* text;
    long long parsed;
    const char* why;
};

TEST(Timecode, CheckedLabelsBothWays) {
    const LabelRow rows[] = {
        {0, k2997, true, "00:00:00;00", 0, "the first label"},
        {1799, k2997, true, "00:00:59;29", 1799, "minute 0 keeps all its labels"},
        {1800, k2997, true, "00:01:00;02", 1800, "minute 1 starts at frame label 2"},
        {3598, k2997, true, "00:02:00;02", 3598, "minute 1 holds 1798 labels"},
        {17981, k2997, true, "00:09:59;29", 17981, "last label before a tenth minute"},
        {17982, k2997, true, "00:10:00;00", 17982, "a tenth minute keeps labels 0 and 1"},
        {17983, k2997, true, "00:10:00;01", 17983, "second label of a tenth minute"},
        {107892, k2997, true, "01:00:00;00", 107892, "one hour"},
        {2589407, k2997, true, "23:59:59;29", 2589407, "the last label of the day"},
        {-1, k2997, true, "23:59:59;29", 2589407, "wraps backwards to the end of the day"},
        {2589408, k2997, true, "00:00:00;00", 0, "a day of 2,589,408 labels wraps forwards"},
        {LLONG_MIN, k2997, true, "01:37:44;00", 175744, "the most negative count"},
        {LLONG_MAX, k2997, true, "22:22:15;29", 2413663, "the largest count"},
        {3599, k5994, true, "00:00:59;59", 3599, "59.94: minute 0 keeps all its labels"},
        {3600, k5994, true, "00:01:00;04", 3600, "59.94 skips labels 0 to 3"},
        {35964, k5994, true, "00:10:00;00", 35964, "59.94: ten minutes"},
        {-1, k5994, true, "23:59:59;59", 5178815, "59.94: a day of 5,178,816 labels"},
        {LLONG_MAX, k5994, true, "23:11:07;59", 5003071, "59.94: the largest count"},
        {1800, k2997, false, "00:01:00:00", 1800, "29.97 without drop-frame counts 30 a second"},
        {-1, k2997, false, "23:59:59:29", 2591999, "29.97 non-drop: a day of 2,592,000 labels"},
        {LLONG_MIN, TimeBase(TimeBase::k30), false, "07:28:59:22", 808192, "30/1, most negative"},
        {90000, TimeBase(TimeBase::k25), false, "01:00:00:00", 90000, "25 a second"},
        {86400, TimeBase(TimeBase::k23_976), false, "01:00:00:00", 86400, "23.976 counts 24 a second"},
        {1, fraction(1, 2), false, "00:00:01:00", 1, "half a frame a second rounds to one label"},
        {99, fraction(100, 1), false, "00:00:00:99", 99, "two frame digits up to 100 a second"},
        {119, fraction(120, 1), false, "00:00:00:119", 119, "three frame digits above 100"},
        {1000, fraction(1001, 1), false, "00:00:00:1000", 1000, "four frame digits above 1000"},
    };
    for (const LabelRow& row : rows) {
        EXPECT_EQ(timecodeText(row.frame, row.rate, row.dropFrame), row.text) << row.why;
        EXPECT_EQ(timecodeFrame(row.text, row.rate), row.parsed) << row.why;
    }
}

// Every label of a drop-frame day reads back as its frame, and the fixed-width labels strictly
// increase, so none repeats or is out of order. TSD_TIMECODE_STRIDE=N visits every Nth frame
// only, for slow runners such as valgrind (scripts/run-valgrind.sh sets it).
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

// The "Reason" of the TimecodeException that `call` throws, or a note that it threw none.
std::string reasonOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const TimecodeException& refusal) {
        const std::string* reason = refusal.getValue<std::string>("Reason");
        return reason == nullptr ? "(no Reason)" : *reason;
    }
    return "(accepted)";
}

TEST(Timecode, EveryRefusalNamesItsOwnReason) {
    struct Row {
        const char* text; // null: write frame 0 as a drop-frame label instead of reading
        TimeBase rate;
        const char* reasonPart;
    };
    const TimeBase k25(TimeBase::k25);
    const Row rows[] = {
        {"00:00:00:00", TimeBase(), "frame rate is invalid"},
        {"00:00:00:00", fraction(1, 3), "frame rate is invalid"},
        {nullptr, TimeBase(), "frame rate is invalid"},
        {nullptr, TimeBase(TimeBase::k30), "exists only at 29.97 and 59.94"},
        {nullptr, TimeBase(TimeBase::k23_976), "exists only at 29.97 and 59.94"},
        {" 00:00:00:00", k25, "blanks"},
        {"00:00:00:00\n", k25, "blanks"},
        {"", k25, "reads HH:MM:SS:FF"},
        {"00:00:00", k25, "reads HH:MM:SS:FF"},
        {"00:00:00:00:00", k25, "reads HH:MM:SS:FF"},
        {"00;00:00:00", k2997, "reads HH:MM:SS:FF"},
        {"0:00:00:00", k25, "hours, minutes and seconds take exactly two"},
        {"00:0a:00:00", k25, "hours, minutes and seconds take exactly two"},
        {"00:00:+1:00", k25, "hours, minutes and seconds take exactly two"},
        {"00:00:00:000", k25, "frames take exactly two"},
        {"00:00:00:99", fraction(120, 1), "frames take exactly two"},
        {"00:00:00;00", TimeBase(TimeBase::k30), "this frame rate has no drop-frame"},
        {"00:00:00;00", TimeBase(TimeBase::k23_976), "this frame rate has no drop-frame"},
        {"24:00:00:00", k25, "hours must be below 24"},
        {"00:60:00:00", k25, "minutes must be below 60"},
        {"00:00:60:00", k25, "seconds must be below 60"},
        {"00:00:00:25", k25, "frames must be below"},
        {"00:00:00;30", k2997, "frames must be below"},
        {"00:01:00;00", k2997, "drop-frame skips this label"},
        {"00:59:00;01", k2997, "drop-frame skips this label"},
        {"00:11:00;03", k5994, "drop-frame skips this label"},
    };
    std::set<std::string> distinct;
    for (const Row& row : rows) {
        const std::string label = row.text == nullptr ? "(writing)" : row.text;
        const std::string reason = reasonOf([&] {
            row.text == nullptr ? (void)timecodeText(0, row.rate, true) : (void)timecodeFrame(row.text, row.rate);
        });
        EXPECT_NE(reason.find(row.reasonPart), std::string::npos) << label << " gave: " << reason;
        distinct.insert(reason);
    }
    EXPECT_EQ(distinct.size(), 12u) << "each kind of refusal has a text of its own";
}

TEST(Timecode, RefusalCarriesTextRateAndSite) {
    try {
        timecodeFrame(std::string(100, '7'), k2997);
        FAIL() << "accepted";
    } catch (const TimecodeException& refusal) {
        EXPECT_EQ(*refusal.getValue<std::string>("Text"), std::string(64, '7') + "...");
        EXPECT_EQ(*refusal.getValue<std::string>("ThrowFunction"), "Tessel::Base::timecodeFrame");
        EXPECT_EQ(refusal.userMessage(), "Can't convert '" + std::string(64, '7') +
                                             "...' at frame rate 30000/1001 to or from timecode: a timecode "
                                             "reads HH:MM:SS:FF, or HH:MM:SS;FF for drop-frame.");
    }
    try {
        timecodeText(-5, TimeBase(TimeBase::k25), true);
        FAIL() << "accepted";
    } catch (const Exception& refusal) {
        EXPECT_EQ(*refusal.getValue<std::string>("Text"), "-5");
        EXPECT_EQ(*refusal.getValue<std::string>("Rate"), "25/1");
        EXPECT_EQ(*refusal.getValue<std::string>("ExceptionClass"), "Tessel::Base::TimecodeException");
        EXPECT_EQ(*refusal.getValue<std::string>("ThrowFunction"), "Tessel::Base::timecodeText");
    }
}

} // namespace
