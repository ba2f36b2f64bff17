#include "tscommandline.h"
#include "tscommands.h"

#include <foundation/tsexception.h>

#include <algorithm>
#include <climits>
#include <iomanip>
#include <iostream>
#include <new>

namespace Tessel::Tools {

namespace {

// The command word ends the dispatcher's own options: it and everything after it are operands,
// so "tsdict sign --help" reaches sign. Options before it are left to the ordinary parsers.
std::vector<po::option> operandsFromCommandWord(std::vector<std::string>& args) {
    std::vector<po::option> operands;
    if (args.empty() || args.front().rfind("--", 0) == 0)
        return operands;
    for (const std::string& arg : args) {
        po::option operand;
        operand.value.push_back(arg);
        operand.original_tokens.push_back(arg);
        operand.position_key = INT_MAX; // positional, as after "--"
        operands.push_back(std::move(operand));
    }
    args.clear();
    return operands;
}

std::string joined(std::string_view path, std::string_view name) {
    std::string words(path);
    if (!words.empty() && !name.empty())
        words += ' ';
    words += name;
    return words;
}

void printCommandList(std::string_view path, const std::vector<Command>& commands, bool withVersion) {
    const std::string self = joined("tsdict", path);
    std::cout << "Usage: " << self << (withVersion ? " [--help | --version]" : " [--help]")
              << " COMMAND [ARGS...]\n\nCommands (" << self << " COMMAND --help tells more):\n";
    for (const Command& command : commands)
        std::cout << "  " << std::left << std::setw(10) << command.name << command.summary << '\n';
    std::cout << "\nExit status: 0 success, 1 a check failed, 2 usage error or bad input.\n";
}

// Runs one command; everything it throws becomes its one-line error.
int runReporting(const std::string& words, const Command& command, const std::vector<std::string>& args) {
    try {
        return command.run(args);
    } catch (const po::error& e) {
        reportError(words, std::string(e.what()) + " (see --help)");
    } catch (const BadInput& e) {
        reportError(words, e.what());
    } catch (const Base::Exception& e) {
        reportError(words, e.userMessage());
    } catch (const std::bad_alloc&) {
        reportError(words, "out of memory");
    } catch (const std::exception& e) {
        reportError(words, e.what());
    }
    return kExitBadInput;
}

} // namespace

int dispatch(std::string_view path, const std::vector<Command>& commands, const std::vector<std::string>& args,
             const char* version) {
    try {
        po::options_description options;
        options.add_options()("help", "list the commands");
        if (version != nullptr)
            options.add_options()("version", "show the version");
        options.add_options()("command", po::value<std::vector<std::string>>());
        po::positional_options_description positional;
        positional.add("command", -1);
        po::variables_map values;
        po::store(po::command_line_parser(args)
                      .options(options)
                      .positional(positional)
                      .extra_style_parser(operandsFromCommandWord)
                      .style(po::command_line_style::unix_style & ~po::command_line_style::allow_short &
                             ~po::command_line_style::allow_guessing)
                      .run(),
                  values);
        if (values.count("help") != 0) {
            printCommandList(path, commands, version != nullptr);
            return kExitSuccess;
        }
        if (values.count("version") != 0) {
            std::cout << "tsdict " << version << '\n';
            return kExitSuccess;
        }
        const std::vector<std::string> words = operandsOf(values, "command");
        if (words.empty())
            throw BadInput("no command given (see --help)");
        const auto command = std::find_if(commands.begin(), commands.end(),
                                          [&](const Command& c) { return words.front() == c.name; });
        if (command == commands.end())
            throw BadInput("unknown command " + printable(words.front()) + " (see --help)");
        return runReporting(joined(path, command->name), *command,
                           std::vector<std::string>(words.begin() + 1, words.end()));
    } catch (const po::error& e) {
        reportError(path, std::string(e.what()) + " (see --help)");
    } catch (const BadInput& e) {
        reportError(path, e.what());
    }
    return kExitBadInput;
}

} // namespace Tessel::Tools
