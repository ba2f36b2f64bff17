// tsdict: try TsDictionary from a shell. Each subcommand lives in its own file; this one only
// lists them.

#include "tscommands.h"

#include <iostream>

int main(int argc, char** argv) {
    using namespace Tessel::Tools;
    const std::vector<Command> commands = {
        {"sign", "Skein-256 digests of files, or their check (--check)", runSign},
        {"json", "JSON documents: fmt, sign (canonical signature), paths", runJson},
        {"rate", "how frame rates are held: fraction, text, rounding, NTSC and drop-frame", runRate},
        {"frame", "frame counts converted between rates", runFrame},
        {"timecode", "SMPTE timecode labels of frame counts, and frame counts of labels", runTimecode},
    };
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    int status = dispatch("", commands, args, TSDICT_VERSION);
    std::cout.flush();
    if (!std::cout) { // a full disk or a closed output must not pass for success
        std::cerr << "tsdict: cannot write the output\n";
        status = 2;
    }
    return status;
}
