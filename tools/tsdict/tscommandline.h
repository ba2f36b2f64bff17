#ifndef TESSEL_TOOLS_TSDICT_TSCOMMANDLINE_H
#define TESSEL_TOOLS_TSDICT_TSCOMMANDLINE_H

// What every tsdict subcommand shares: exit statuses, the one-line error report, argument
// parsing with --help, and the readers of numbers and frame rates given as arguments.

#include <foundation/tstimebase.h>

#include <boost/program_options.hpp>

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Tools {

namespace po = boost::program_options;

/// Exit statuses of every subcommand.
enum ExitStatus : int {
    kExitSuccess = 0,
    kExitCheckFailed = 1, ///< a check ran and found a mismatch
    kExitBadInput = 2     ///< usage error, unreadable file or input that makes no sense
};

/// Thrown for an argument or input that makes no sense; the text names what was wrong.
class BadInput : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What --help shows above the options: "tsdict sign [--check] [FILE...]" and a paragraph.
struct Usage {
    const char* synopsis;
    const char* description;
};

/// `text` in single quotes with control bytes as \xNN and at most 80 bytes kept, so that
/// untrusted text cannot break the line it is reported on.
std::string printable(std::string_view text);

/// Writes "tsdict <command>: <message>" as one line on standard error (line breaks in the
/// message become spaces).
void reportError(std::string_view command, std::string_view message);

/// Parses `args` against `options` (shown by --help, which is added here) with the operands,
/// if `operands` names them, collected under that name. Options are long only ("--drop"), so
/// "-5" is an operand. Returns nothing when --help was given and the help has been printed.
/// @throws po::error on unknown or malformed options.
std::optional<po::variables_map> parseArguments(const std::vector<std::string>& args, const Usage& usage,
                                                po::options_description options,
                                                const char* operands = nullptr);

/// The operands collected under `name`, none when there were none.
std::vector<std::string> operandsOf(const po::variables_map& values, const char* name);

/// A whole decimal number from -2^63 to 2^63-1. @throws BadInput naming `text` otherwise.
long long parseFrameCount(std::string_view text);

/// A frame rate: a positive decimal number ("25", "29.97") read as TimeBase reads it, or a
/// fraction of positive whole numbers ("30000/1001") taken exactly. @throws BadInput otherwise.
Base::TimeBase parseFrameRate(std::string_view text);

} // namespace Tessel::Tools

#endif
