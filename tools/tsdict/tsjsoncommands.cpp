// tsdict json fmt, sign and paths: JSON documents read into values by the JSON bridge, written
// back, signed canonically, or listed by key path.

#include "tscommandline.h"
#include "tscommands.h"
#include "tsdigestline.h"
#include "tsinputfile.h"

#include <dictionary/tsany.h>
#include <dictionary/tscanonicalsignature.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tsjson.h>
#include <dictionary/tstypelabels.h>

#include <iostream>
#include <utility>
#include <vector>

namespace Tessel::Tools {

namespace {

using Dictionary::Any;
using Dictionary::JsonOptions;

// Deeper indentation only makes lines longer than any reader wants.
constexpr unsigned kMaxIndent = 16;

// The value of the document `name` ("-" is standard input). A document that is no JSON throws
// BadInput naming the document and the place of the fault.
Any readDocument(const std::string& name) {
    InputFile input(name, InputFile::Mode::kPieces);
    const std::string text = input.readAll();
    try {
        return Dictionary::fromJson(text);
    } catch (const Dictionary::JsonException& e) {
        throw BadInput(printable(name) + ": " + e.userMessage());
    }
}

std::string onlyDocument(const po::variables_map& values) {
    const std::vector<std::string> documents = operandsOf(values, "document");
    if (documents.size() > 1)
        throw BadInput("one DOC at most (see --help)");
    return documents.empty() ? "-" : documents.front();
}

// A path segment as key paths write it: "~" as "~0", "/" as "~1".
std::string pathSegment(const std::string& key) {
    std::string segment;
    for (char c : key) {
        if (c == '~')
            segment += "~0";
        else if (c == '/')
            segment += "~1";
        else
            segment += c;
    }
    return segment;
}

// The path as one line shows it: backslashes and control bytes escaped.
std::string shownPath(const std::string& path) {
    static const char kHex[] = "0123456789abcdef";
    std::string shown;
    for (char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\\') {
            shown += "\\\\";
        } else if (byte < 0x20 || byte == 0x7f) {
            shown += "\\x";
            shown += kHex[byte >> 4];
            shown += kHex[byte & 0xf];
        } else {
            shown += c;
        }
    }
    return shown;
}

std::string labelOf(const Any& value) {
    return value.isEmpty() ? "empty" : value.type()->label().getString();
}

// Every entry below `root`, depth first in the value's own order, as "<label> <path>" lines.
// An explicit stack: documents may nest as deep as the JSON bridge reads them.
void listPaths(const Any& root) {
    std::vector<std::pair<const Any*, std::string>> pending;
    auto pushChildren = [&pending](const Any& value, const std::string& path) {
        const std::string prefix = path.empty() ? path : path + "/";
        std::vector<std::pair<const Any*, std::string>> children;
        if (!value.isEmpty() && value.type()->label() == Dictionary::gTypeLabelDictionary) {
            for (const auto& [key, child] : value.dict())
                children.emplace_back(&child, prefix + pathSegment(key.getString()));
        } else if (!value.isEmpty() && value.type()->label() == Dictionary::gTypeLabelVector) {
            const std::vector<Any>& elements = value.vec();
            for (std::size_t i = 0; i < elements.size(); ++i)
                children.emplace_back(&elements[i], prefix + std::to_string(i));
        }
        pending.insert(pending.end(), std::make_move_iterator(children.rbegin()),
                       std::make_move_iterator(children.rend()));
    };
    pushChildren(root, "");
    while (!pending.empty()) {
        auto [value, path] = std::move(pending.back());
        pending.pop_back();
        std::cout << labelOf(*value) << ' ' << shownPath(path) << '\n';
        pushChildren(*value, path);
    }
}

int runJsonFmt(const std::vector<std::string>& args) {
    const Usage usage = {"tsdict json fmt [--plain] [--indent N] [DOC]",
                         "Reads the JSON document DOC (standard input for none or \"-\") into a value and\n"
                         "writes it back: in the typed form, which keeps every type label, or with\n"
                         "--plain as natural JSON for other programs."};
    po::options_description options("Options");
    options.add_options()("plain", "write plain JSON: labels dropped, time bases as \"num/den\"")(
        "indent", po::value<unsigned>()->default_value(0), "spaces per nesting level, 0 to 16 (0: one line)");
    const auto values = parseArguments(args, usage, options, "document");
    if (!values)
        return kExitSuccess;
    JsonOptions json;
    json.indent = (*values)["indent"].as<unsigned>();
    if (json.indent > kMaxIndent)
        throw BadInput("--indent takes 0 to " + std::to_string(kMaxIndent));
    json.form = values->count("plain") != 0 ? Dictionary::JsonForm::Plain : Dictionary::JsonForm::Typed;
    const Any value = readDocument(onlyDocument(*values));
    std::cout << Dictionary::toJson(value, json) << '\n';
    return kExitSuccess;
}

int runJsonSign(const std::vector<std::string>& args) {
    const Usage usage = {"tsdict json sign [DOC...]",
                         "Writes the canonical signature of the value of each JSON document DOC\n"
                         "(standard input for none or \"-\") as \"<64 hex digits>  <name>\": the same\n"
                         "content gives the same digest whatever the order of its keys."};
    const auto values = parseArguments(args, usage, po::options_description("Options"), "document");
    if (!values)
        return kExitSuccess;
    std::vector<std::string> documents = operandsOf(*values, "document");
    if (documents.empty())
        documents.emplace_back("-");
    int status = kExitSuccess;
    for (const std::string& document : documents) {
        try {
            const std::string hex = hexOf(Dictionary::canonicalSignature(readDocument(document)));
            std::cout << digestLine(hex, document) << '\n';
        } catch (const BadInput& e) { // the other documents are still signed
            reportError("json sign", e.what());
            status = kExitBadInput;
        }
    }
    return status;
}

int runJsonPaths(const std::vector<std::string>& args) {
    const Usage usage = {"tsdict json paths [DOC]",
                         "Lists every key path of the JSON document DOC (standard input for none or \"-\")\n"
                         "as \"<type label> <path>\", one a line, depth first: keys and element indices\n"
                         "joined by \"/\" (\"~\" and \"/\" in keys written \"~0\" and \"~1\"; backslashes\n"
                         "and control bytes as \\\\ and \\xNN)."};
    const auto values = parseArguments(args, usage, po::options_description("Options"), "document");
    if (!values)
        return kExitSuccess;
    listPaths(readDocument(onlyDocument(*values)));
    return kExitSuccess;
}

} // namespace

int runJson(const std::vector<std::string>& args) {
    static const std::vector<Command> commands = {
        {"fmt", "a JSON document written back, typed or plain", runJsonFmt},
        {"sign", "canonical signatures of JSON documents", runJsonSign},
        {"paths", "every key path of a JSON document with its type label", runJsonPaths},
    };
    return dispatch("json", commands, args);
}

} // namespace Tessel::Tools
