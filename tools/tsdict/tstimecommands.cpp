// tsdict rate, frame and timecode: what the library makes of frame rates, frame counts and
// SMPTE timecode labels.

#include "tscommandline.h"
#include "tscommands.h"

#include <foundation/tstimebase.h>
#include <foundation/tstimecode.h>

#include <iostream>

namespace Tessel::Tools {

namespace {

using Base::TimeBase;

const char* yesNo(bool flag) {
    return flag ? "yes" : "no";
}

std::vector<std::string> requiredOperands(const po::variables_map& values, const char* name, const char* what) {
    std::vector<std::string> operands = operandsOf(values, name);
    if (operands.empty())
        throw BadInput(std::string("no ") + what + " given (see --help)");
    return operands;
}

// An operand of timecode: a frame count when it is one, otherwise a label.
bool looksLikeFrameCount(const std::string& text) {
    const std::size_t digits = text.find_first_not_of('-') == 1 ? 1 : 0;
    return text.size() > digits && text.find_first_not_of("0123456789", digits) == std::string::npos;
}

} // namespace

int runRate(const std::vector<std::string>& args) {
    const Usage usage = {"tsdict rate RATE...",
                         "Shows how each RATE (\"23.976\", \"29.97\", \"30000/1001\", \"25\") is held: its\n"
                         "fraction, its rate text, the rate rounded to whole frames, and whether it is an\n"
                         "NTSC rate and a drop-frame rate."};
    const auto values = parseArguments(args, usage, po::options_description("Options"), "rate");
    if (!values)
        return kExitSuccess;
    for (const std::string& text : requiredOperands(*values, "rate", "RATE")) {
        const TimeBase rate = parseFrameRate(text);
        std::cout << text << ": fraction " << rate.fractionText() << ", rate " << rate.rateText() << ", rounded "
                  << rate.roundedRate() << ", ntsc " << yesNo(rate.isNtscRate()) << ", drop-frame "
                  << yesNo(rate.isDropFrameRate()) << '\n';
    }
    return kExitSuccess;
}

int runFrame(const std::vector<std::string>& args) {
    const Usage usage = {"tsdict frame --from RATE --to RATE [--pulldown] FRAME...",
                         "Converts each frame count FRAME at one rate to the nearest frame at another, one\n"
                         "result a line. With --pulldown, 24 and 30 frames a second convert by the 2:3\n"
                         "cadence. Rates as for tsdict rate; a negative FRAME is written as is (-5)."};
    po::options_description options("Options");
    options.add_options()("from", po::value<std::string>()->required(), "the rate of the given frames")(
        "to", po::value<std::string>()->required(), "the rate to convert to")(
        "pulldown", "use the 2:3 cadence between 24 and 30 frames a second");
    const auto values = parseArguments(args, usage, options, "frame");
    if (!values)
        return kExitSuccess;
    const TimeBase from = parseFrameRate((*values)["from"].as<std::string>());
    const TimeBase to = parseFrameRate((*values)["to"].as<std::string>());
    const bool pulldown = values->count("pulldown") != 0;
    for (const std::string& text : requiredOperands(*values, "frame", "FRAME")) {
        const long long frame = parseFrameCount(text);
        std::cout << (pulldown ? TimeBase::convertFramePulldown(frame, from, to)
                               : TimeBase::convertFrame(frame, from, to))
                  << '\n';
    }
    return kExitSuccess;
}

int runTimecode(const std::vector<std::string>& args) {
    const Usage usage = {"tsdict timecode --rate RATE [--drop] FRAME...|LABEL...",
                         "Writes the SMPTE label of each frame count FRAME (\"HH:MM:SS:FF\", or\n"
                         "\"HH:MM:SS;FF\" with --drop) and the frame count of each LABEL, one result a\n"
                         "line. A label's own separator says whether it is drop-frame."};
    po::options_description options("Options");
    options.add_options()("rate", po::value<std::string>()->required(), "the frame rate, as for tsdict rate")(
        "drop", "write drop-frame labels (29.97 and 59.94 only)");
    const auto values = parseArguments(args, usage, options, "operand");
    if (!values)
        return kExitSuccess;
    const TimeBase rate = parseFrameRate((*values)["rate"].as<std::string>());
    const bool drop = values->count("drop") != 0;
    for (const std::string& text : requiredOperands(*values, "operand", "FRAME or LABEL")) {
        if (looksLikeFrameCount(text))
            std::cout << Base::timecodeText(parseFrameCount(text), rate, drop) << '\n';
        else
            std::cout << Base::timecodeFrame(text, rate) << '\n';
    }
    return kExitSuccess;
}

} // namespace Tessel::Tools
