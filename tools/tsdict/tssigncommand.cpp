// tsdict sign: Skein-256 digests of files, written as "<64 hex digits>  <name>" lines, and the
// check of such lines against the files they name.

#include "tscommandline.h"
#include "tscommands.h"
#include "tsdigestline.h"
#include "tsinputfile.h"
#include "tsreadahead.h"

#include <foundation/tsskeinhash.h>

#include <iostream>
#include <vector>

namespace Tessel::Tools {

namespace {

using Base::SkeinHash::Digest;
using Base::SkeinHash::Engine;

constexpr const char* kCommand = "sign";
// One read's worth; two of them are the only memory a file of any size needs.
constexpr std::size_t kPieceBytes = std::size_t{1} << 20;

const Usage kUsage = {
    "tsdict sign [FILE...]\n       tsdict sign --check [LIST...]",
    "Writes the Skein-256 digest of each FILE's bytes as \"<64 hex digits>  <name>\", one line\n"
    "each; no FILE, or \"-\", reads standard input. A name holding a line break or a backslash\n"
    "is written escaped (\\n, \\r, \\\\) on a line that starts with \"\\\".\n"
    "With --check, reads such lines from each LIST (standard input for none or \"-\") and\n"
    "prints \"<name>: OK\" or \"<name>: FAILED\" for each file they name; exit status 1 if any\n"
    "failed, 2 if a line or file could not be read."};

Digest digestOf(const std::string& name) {
    InputFile input(name, InputFile::Mode::kPieces);
    ReadAhead pieces(input, kPieceBytes);
    Engine engine;
    for (ReadAhead::Piece piece = pieces.next(); piece.size != 0; piece = pieces.next())
        engine.update(piece.data, piece.size);
    return engine.digest();
}

int signFiles(std::vector<std::string> files) {
    if (files.empty())
        files.emplace_back("-");
    int status = kExitSuccess;
    for (const std::string& file : files) {
        try {
            std::cout << digestLine(hexOf(digestOf(file)), file) << '\n';
        } catch (const BadInput& e) { // the other files are still signed
            reportError(kCommand, e.what());
            status = kExitBadInput;
        }
    }
    return status;
}

// Checks the entries of one list; returns whether every line was well formed and read.
bool checkList(const std::string& list, bool& anyFailed) {
    InputFile input(list, InputFile::Mode::kLines);
    bool wellFormed = true;
    std::size_t entries = 0;
    std::string line;
    for (std::size_t number = 1; input.readLine(line); ++number) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty())
            continue;
        const std::optional<DigestLine> entry = parseDigestLine(line);
        if (!entry) {
            reportError(kCommand, printable(list) + " line " + std::to_string(number) +
                                      ": not a \"<64 hex digits>  <name>\" line");
            wellFormed = false;
            continue;
        }
        ++entries;
        bool same = false;
        try {
            same = hexOf(digestOf(entry->name)) == entry->hex;
        } catch (const BadInput& e) { // an unreadable file fails its check
            reportError(kCommand, e.what());
        }
        std::cout << shownName(entry->name) << (same ? ": OK\n" : ": FAILED\n");
        anyFailed = anyFailed || !same;
    }
    if (entries == 0 && wellFormed) {
        reportError(kCommand, printable(list) + " holds no \"<64 hex digits>  <name>\" lines");
        return false;
    }
    return wellFormed;
}

int checkLists(std::vector<std::string> lists) {
    if (lists.empty())
        lists.emplace_back("-");
    bool allRead = true;
    bool anyFailed = false;
    for (const std::string& list : lists) {
        try {
            allRead = checkList(list, anyFailed) && allRead;
        } catch (const BadInput& e) {
            reportError(kCommand, e.what());
            allRead = false;
        }
    }
    return !allRead ? kExitBadInput : anyFailed ? kExitCheckFailed : kExitSuccess;
}

} // namespace

int runSign(const std::vector<std::string>& args) {
    po::options_description options("Options");
    options.add_options()("check", "check the digests listed in each LIST");
    const auto values = parseArguments(args, kUsage, options, "file");
    if (!values)
        return kExitSuccess;
    const std::vector<std::string> operands = operandsOf(*values, "file");
    return values->count("check") != 0 ? checkLists(operands) : signFiles(operands);
}

} // namespace Tessel::Tools
