#include <foundation/tsexception.h>

#include <climits>
#include <sstream>
#include <string>

namespace Tessel::Base {

namespace {

const char* const kReportFrame =
    "++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++++";
const char* const kSectionFrame = "-------";

/// The keys of the throw site, which the description shows in its first two lines.
bool isThrowSiteKey(const std::string& key) {
    return key == "ExceptionClass" || key == "ThrowFile" || key == "ThrowLine" ||
           key == "ThrowFunction";
}

/// Writes `count` blanks (none for a negative count) without building a string of them.
void writeIndentation(std::ostream& os, int count) {
    static const char kBlanks[] = "                                ";
    constexpr int kChunk = static_cast<int>(sizeof kBlanks - 1);
    while (count > 0) {
        const int now = count < kChunk ? count : kChunk;
        os.write(kBlanks, now);
        count -= now;
    }
}

} // namespace

void ExceptionDecoration::describe(std::ostream& os, int indentation) const {
    const std::string* exceptionClass = getValue<std::string>("ExceptionClass");
    const std::string* file = getValue<std::string>("ThrowFile");
    const int* line = getValue<int>("ThrowLine");
    const std::string* function = getValue<std::string>("ThrowFunction");

    writeIndentation(os, indentation);
    os << "Threw exception of type "
       << (exceptionClass != nullptr ? *exceptionClass : std::string("unknown type")) << std::endl;

    if (file != nullptr) {
        writeIndentation(os, indentation);
        os << "From " << *file;
    } else {
        os << " unknown source file";
    }
    if (line != nullptr) {
        // Always decimal, whatever base the caller's stream is set to.
        os << ':' << std::to_string(*line);
    } else {
        os << " at unknown line";
    }
    if (function != nullptr) {
        os << " in '" << *function << '\'';
    } else {
        os << " in unknown function";
    }
    os << std::endl;

    bool headerWritten = false;
    for (const auto& [key, item] : items()) {
        if (isThrowSiteKey(key)) {
            continue;
        }
        if (!headerWritten) {
            writeIndentation(os, indentation);
            os << "Decoration is..." << std::endl;
            headerWritten = true;
        }
        writeIndentation(os, indentation);
        os << "  [" << key << "] = ";
        item->writeValue(os);
        os << std::endl;
    }
}

void Exception::report(std::ostream& os) const {
    os << kReportFrame << std::endl;
    os << "EXCEPTION REPORT" << std::endl;
    os << "  User message is '" << userMessage() << '\'' << std::endl;
    describe(os, 2);

    int indentation = 4;
    for (const ExceptionDecoration& earlier : mPrevious) {
        os << std::endl;
        writeIndentation(os, indentation);
        os << kSectionFrame << std::endl;
        writeIndentation(os, indentation);
        os << "PREVIOUSLY THREW" << std::endl;
        earlier.describe(os, indentation);
        writeIndentation(os, indentation);
        os << kSectionFrame << std::endl;
        if (indentation <= INT_MAX - 2) {
            indentation += 2;
        }
    }

    os << kReportFrame << std::endl;
}

std::string Exception::report() const {
    std::ostringstream text;
    // A string stream only sets badbit when its buffer cannot grow; rethrowing keeps a cut-off
    // report from passing for the whole one.
    text.exceptions(std::ios_base::badbit);
    report(text);
    return text.str();
}

void Exception::addPrevious(const Exception& earlier) {
    // Everything is built aside and swapped in at the end, so a failure changes nothing, and
    // `earlier` may be this very exception.
    std::list<ExceptionDecoration> chain(earlier.mPrevious);
    chain.emplace_front(earlier);
    ExceptionDecoration& copy = chain.front();

    copy << ExceptionInfo<std::string>("FilledUserMessage", earlier.userMessage());
    const std::string summary = earlier.userSummary();
    if (!summary.empty()) {
        copy << ExceptionInfo<std::string>("FilledUserSummary", summary);
    }
    const std::string detail = earlier.userDetail();
    if (!detail.empty()) {
        copy << ExceptionInfo<std::string>("FilledUserDetail", detail);
    }
    const std::string title = earlier.userTitle();
    if (!title.empty()) {
        copy << ExceptionInfo<std::string>("FilledUserTitle", title);
    }

    mPrevious.swap(chain);
}

} // namespace Tessel::Base
