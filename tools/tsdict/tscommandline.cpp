#include "tscommandline.h"

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <system_error>

namespace Tessel::Tools {

namespace {

// Long options only, spelled out in full: "-5" stays an operand (a negative frame count) and a
// prefix never silently picks an option.
constexpr int kOptionStyle =
    po::command_line_style::unix_style & ~po::command_line_style::allow_short & ~po::command_line_style::allow_guessing;

constexpr std::size_t kQuotedBytes = 80;

} // namespace

std::string printable(std::string_view text) {
    static const char kHex[] = "0123456789abcdef";
    std::string out = "'";
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == kQuotedBytes) {
            out += "...";
            break;
        }
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x20 || byte == 0x7f) {
            out += "\\x";
            out += kHex[byte >> 4];
            out += kHex[byte & 0xf];
        } else {
            out += static_cast<char>(byte);
        }
    }
    out += '\'';
    return out;
}

void reportError(std::string_view command, std::string_view message) {
    std::string line = "tsdict";
    if (!command.empty()) {
        line += ' ';
        line += command;
    }
    line += ": ";
    for (char c : message)
        line += (c == '\n' || c == '\r') ? ' ' : c;
    line += '\n';
    std::cout.flush(); // keep the order of results and errors when both go to one terminal
    std::cerr << line;
}

std::optional<po::variables_map> parseArguments(const std::vector<std::string>& args, const Usage& usage,
                                                po::options_description options, const char* operands) {
    options.add_options()("help", "show this help and exit");
    po::options_description all;
    all.add(options);
    po::positional_options_description positional;
    if (operands != nullptr) {
        all.add_options()(operands, po::value<std::vector<std::string>>());
        positional.add(operands, -1);
    }
    po::variables_map values;
    po::store(po::command_line_parser(args).options(all).positional(positional).style(kOptionStyle).run(), values);
    if (values.count("help") != 0) {
        std::cout << "Usage: " << usage.synopsis << "\n\n" << usage.description << "\n\n" << options;
        return std::nullopt;
    }
    po::notify(values);
    return values;
}

std::vector<std::string> operandsOf(const po::variables_map& values, const char* name) {
    const auto found = values.find(name);
    return found == values.end() ? std::vector<std::string>{} : found->second.as<std::vector<std::string>>();
}

long long parseFrameCount(std::string_view text) {
    long long frame = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, frame);
    if (text.empty() || error != std::errc() || stop != end)
        throw BadInput(printable(text) + " is not a frame count (a whole number of 64 bits, e.g. 1000 or -5)");
    return frame;
}

namespace {

// A positive whole number of 64 bits, or nothing.
std::optional<unsigned long long> positiveWhole(std::string_view text) {
    unsigned long long value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end || value == 0)
        return std::nullopt;
    return value;
}

} // namespace

Base::TimeBase parseFrameRate(std::string_view text) {
    const std::string expected =
        " is not a frame rate (a positive number like 25 or 29.97, or a fraction like 30000/1001)";
    Base::TimeBase rate;
    if (const std::size_t slash = text.find('/'); slash != std::string_view::npos) {
        const auto numerator = positiveWhole(text.substr(0, slash));
        const auto denominator = positiveWhole(text.substr(slash + 1));
        if (!numerator || !denominator)
            throw BadInput(printable(text) + expected);
        rate.set(*numerator, *denominator);
        return rate;
    }
    // Checked here, then read by TimeBase itself so that the tool shows the library's choice.
    double value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    if (text.empty() || error != std::errc() || stop != end || !(value > 0))
        throw BadInput(printable(text) + expected);
    rate = Base::TimeBase(std::string(text));
    if (rate.denominator == 0 || !(rate.rate() > 0))
        throw BadInput(printable(text) + " is too small a frame rate: it reads as " + rate.fractionText());
    return rate;
}

} // namespace Tessel::Tools
