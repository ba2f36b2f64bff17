#ifndef TESSEL_TOOLS_TSDICT_TSCOMMANDS_H
#define TESSEL_TOOLS_TSDICT_TSCOMMANDS_H

// The subcommands of tsdict and the dispatcher that picks one by its name.

#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Tools {

/// A subcommand: its name, a one-line summary for the command list, and its entry point, which
/// receives the arguments after its name and returns an ExitStatus.
struct Command {
    const char* name;
    const char* summary;
    int (*run)(const std::vector<std::string>& args);
};

/// Runs the command of `commands` that the first operand of `args` names, with the arguments
/// after it. `path` is the command word(s) so far ("" for tsdict itself, "json" below it);
/// `version`, when given, adds --version. Every error ends here as one line on standard error
/// and exit status 2.
int dispatch(std::string_view path, const std::vector<Command>& commands, const std::vector<std::string>& args,
             const char* version = nullptr);

int runSign(const std::vector<std::string>& args);
int runJson(const std::vector<std::string>& args);
int runRate(const std::vector<std::string>& args);
int runFrame(const std::vector<std::string>& args);
int runTimecode(const std::vector<std::string>& args);

} // namespace Tessel::Tools

#endif
