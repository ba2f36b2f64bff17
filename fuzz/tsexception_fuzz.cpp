// Fuzz target: exception decorations with arbitrary keys, values and user-message templates,
// addPrevious chains (an exception chained to itself included), copies, assignments, throws
// through the throw procedure and rethrows through boost::current_exception, descriptions and the
// report.
//
// Input: a sequence of operations on three exception slots, each an operation byte followed by
// its arguments (slots, keys, texts, numbers).
//
// Invariants (each follows from the documented design): every slot is checked against a plain
// model kept beside it, built only from the documented rules:
// - an item goes under the text of its key up to the first NUL, the last addition of a key wins,
//   and getValue gives a value only for an item of the asked type;
// - copies and assignments (self-assignment included) reproduce items and chain exactly;
// - addPrevious replaces the chain by the earlier exception's chain with a copy of the earlier
//   decoration in front, which carries "FilledUserMessage" always and "FilledUserSummary",
//   "FilledUserDetail", "FilledUserTitle" only when not empty;
// - filled texts follow the template algorithm (placeholders "%%(" key ")%%" replaced by the item
//   written with default formatting, "(" key " unknown)" for a missing item, an unterminated
//   marker left as it is, values not scanned again); a missing or non-string template gives "";
// - the description and the report are exactly the documented lines (throw-site items of the
//   wrong type count as missing; "ThrowLine" is decimal whatever the stream's base, other int
//   items follow the stream's flags), and report() returns what report(os) writes;
// - the throw procedure adds the class's user message, the site items, then "ThrowFile" (unless
//   null), "ThrowLine", "ThrowFunction" (unless null) and "ExceptionClass"; the thrown object is
//   caught as its class and as ExceptionDecoration, and rethrowing the captured exception pointer
//   gives an exception of the same class with the same report;
// - a readable type name of any text has a blank after every comma and before every star, and a
//   text holding a NUL or starting with "_Z" is never demangled, only spaced (one leading
//   "class " dropped).
// Key texts are kept alive in a pool declared before the exceptions, as items hold key pointers.

#include "tsfuzzsupport.h"

#include <dictionary/tsanyexception.h>
#include <foundation/tsexception.h>
#include <foundation/tsreadabletypename.h>

#include <boost/exception_ptr.hpp>

#include <array>
#include <cstdint>
#include <deque>
#include <ios>
#include <list>
#include <map>
#include <sstream>
#include <string>

namespace {

using namespace TsFuzz;
using Tessel::Base::Exception;
using Tessel::Base::ExceptionDecoration;
using Tessel::Base::ExceptionInfo;

// --- the model ---------------------------------------------------------------------------------------

struct ModelItem {
    bool isInt = false;
    std::string text;
    int number = 0;
};
using ModelItems = std::map<std::string, ModelItem>;
struct Model {
    ModelItems items;
    std::list<ModelItems> previous;
};

std::string writtenValue(const ModelItem& item, std::ios_base::fmtflags flags = std::ios_base::dec) {
    if (!item.isInt) {
        return item.text;
    }
    std::ostringstream text;
    text.flags(flags);
    text << item.number;
    return text.str();
}

const std::string* modelString(const ModelItems& items, const std::string& key) {
    const auto found = items.find(key);
    return found == items.end() || found->second.isInt ? nullptr : &found->second.text;
}

const int* modelInt(const ModelItems& items, const std::string& key) {
    const auto found = items.find(key);
    return found == items.end() || !found->second.isInt ? nullptr : &found->second.number;
}

std::string modelFill(const ModelItems& items, const std::string& key) {
    const std::string* text = modelString(items, key);
    if (text == nullptr) {
        return std::string();
    }
    std::string out;
    std::string::size_type pos = 0;
    for (;;) {
        const auto open = text->find("%%(", pos);
        if (open == std::string::npos) {
            break;
        }
        const auto close = text->find(")%%", open);
        if (close == std::string::npos) {
            break;
        }
        out.append(*text, pos, open - pos);
        const std::string name = text->substr(open + 3, close - open - 3);
        const auto item = items.find(name);
        out += item == items.end() ? "(" + name + " unknown)" : writtenValue(item->second);
        pos = close + 3;
    }
    out.append(*text, pos, std::string::npos);
    return out;
}

std::string blanks(int count) {
    return count > 0 ? std::string(static_cast<std::size_t>(count), ' ') : std::string();
}

std::string modelDescribe(const ModelItems& items, int indentation, std::ios_base::fmtflags flags) {
    const std::string p = blanks(indentation);
    std::string out = p + "Threw exception of type ";
    const std::string* exceptionClass = modelString(items, "ExceptionClass");
    out += (exceptionClass != nullptr ? *exceptionClass : std::string("unknown type")) + "\n";
    const std::string* file = modelString(items, "ThrowFile");
    out += file != nullptr ? p + "From " + *file : std::string(" unknown source file");
    const int* line = modelInt(items, "ThrowLine");
    out += line != nullptr ? ":" + std::to_string(*line) : std::string(" at unknown line");
    const std::string* function = modelString(items, "ThrowFunction");
    out += function != nullptr ? " in '" + *function + "'" : std::string(" in unknown function");
    out += "\n";
    bool header = false;
    for (const auto& [key, item] : items) {
        if (key == "ExceptionClass" || key == "ThrowFile" || key == "ThrowLine" || key == "ThrowFunction") {
            continue;
        }
        if (!header) {
            out += p + "Decoration is...\n";
            header = true;
        }
        out += p + "  [" + key + "] = " + writtenValue(item, flags) + "\n";
    }
    return out;
}

std::string modelReport(const Model& model) {
    const std::string frame(80, '+');
    std::string out = frame + "\nEXCEPTION REPORT\n  User message is '" + modelFill(model.items, "UserMessage") + "'\n";
    out += modelDescribe(model.items, 2, std::ios_base::dec);
    int indentation = 4;
    for (const ModelItems& earlier : model.previous) {
        const std::string q = blanks(indentation);
        out += "\n" + q + "-------\n" + q + "PREVIOUSLY THREW\n";
        out += modelDescribe(earlier, indentation, std::ios_base::dec);
        out += q + "-------\n";
        indentation += 2;
    }
    return out + frame + "\n";
}

void modelAdd(ModelItems& items, const char* key, const ModelItem& item) {
    items[std::string(key)] = item;
}

void modelAddText(ModelItems& items, const char* key, const std::string& text) {
    ModelItem item;
    item.text = text;
    modelAdd(items, key, item);
}

void modelAddPrevious(Model& model, const Model& earlier) {
    std::list<ModelItems> chain = earlier.previous;
    ModelItems copy = earlier.items;
    modelAddText(copy, "FilledUserMessage", modelFill(earlier.items, "UserMessage"));
    const char* const keys[3][2] = {{"UserSummary", "FilledUserSummary"},
                                    {"UserDetail", "FilledUserDetail"},
                                    {"UserTitle", "FilledUserTitle"}};
    for (const auto& pair : keys) {
        const std::string filled = modelFill(earlier.items, pair[0]);
        if (!filled.empty()) {
            modelAddText(copy, pair[1], filled);
        }
    }
    chain.push_front(copy);
    model.previous = chain;
}

// --- comparing an exception with its model ---------------------------------------------------------

void checkItems(const ExceptionDecoration& real, const ModelItems& model) {
    TSFUZZ_CHECK(real.items().size() == model.size(),
                 std::to_string(real.items().size()) + " items, model has " + std::to_string(model.size()));
    for (const auto& [key, item] : model) {
        TSFUZZ_CHECK(real.getInfo(key) != nullptr, "missing item " + escaped(key));
        if (item.isInt) {
            const int* value = real.getValue<int>(key);
            TSFUZZ_CHECK(value != nullptr && *value == item.number && real.getValue<std::string>(key) == nullptr,
                         "int item " + escaped(key));
        } else {
            const std::string* value = real.getValue<std::string>(key);
            TSFUZZ_CHECK(value != nullptr && *value == item.text && real.getValue<int>(key) == nullptr,
                         "string item " + escaped(key));
        }
    }
}

void checkAgainstModel(const Exception& real, const Model& model) {
    checkItems(real, model.items);
    TSFUZZ_CHECK(real.previous().size() == model.previous.size());
    auto expected = model.previous.begin();
    for (const ExceptionDecoration& earlier : real.previous()) {
        checkItems(earlier, *expected);
        ++expected;
    }
}

void checkTexts(const Exception& real, const Model& model) {
    const std::string expected = modelReport(model);
    const std::string report = real.report();
    TSFUZZ_CHECK(report == expected, "report:\n" + report + "model:\n" + expected);
    std::ostringstream stream;
    real.report(stream);
    TSFUZZ_CHECK(stream.str() == report);
    TSFUZZ_CHECK(real.userMessage() == modelFill(model.items, "UserMessage"));
    TSFUZZ_CHECK(real.userSummary() == modelFill(model.items, "UserSummary"));
    TSFUZZ_CHECK(real.userDetail() == modelFill(model.items, "UserDetail"));
    TSFUZZ_CHECK(real.userTitle() == modelFill(model.items, "UserTitle"));
}

// --- the operations ------------------------------------------------------------------------------

constexpr std::size_t kSlots = 3;
constexpr int kClassCount = 7;

const char* const kKnownKeys[] = {"UserMessage", "UserSummary", "UserDetail", "UserTitle", "ThrowFile",
                                  "ThrowLine", "ThrowFunction", "ExceptionClass", "FromType", "ToType",
                                  "Type", "FilledUserMessage", "N", ""};

const char* const kClassNames[kClassCount] = {
    "Tessel::Base::Exception",
    "Tessel::Base::NotImplemented",
    "Tessel::Dictionary::AnyException",
    "Tessel::Dictionary::AnyNullException",
    "Tessel::Dictionary::AnyDereferenceException",
    "Tessel::Dictionary::AnyUnknownTypeException",
    "Tessel::Dictionary::AnyCastException"};

const char* const kClassMessages[kClassCount] = {
    nullptr,
    "Unimplemented code path.",
    nullptr,
    "Attempted to access an empty dictionary entry.",
    "Can't make dictionary entry of type '%%(FromType)%%' be of type '%%(ToType)%%'.",
    "Don't know how to handle type '%%(Type)%%' in a Dictionary.",
    "Don't know how to cast dictionary entry from type '%%(FromType)%%' to type '%%(ToType)%%'."};

/// Throws class `index` by the throw procedure with one site item.
[[noreturn]] void throwClass(int index, const char* file, int line, const char* function,
                             const ExceptionInfo<std::string>& item) {
    using namespace Tessel::Dictionary;
    using Tessel::Base::throwException;
    switch (index) {
    case 0: throwException<Exception>(file, line, function, item);
    case 1: throwException<Tessel::Base::NotImplemented>(file, line, function, item);
    case 2: throwException<AnyException>(file, line, function, item);
    case 3: throwException<AnyNullException>(file, line, function, item);
    case 4: throwException<AnyDereferenceException>(file, line, function, item);
    case 5: throwException<AnyUnknownTypeException>(file, line, function, item);
    default: throwException<AnyCastException>(file, line, function, item);
    }
}

/// A default-constructed exception of class `index`, copied as an Exception.
Exception defaultOf(int index) {
    using namespace Tessel::Dictionary;
    switch (index) {
    case 0: return Exception();
    case 1: return Tessel::Base::NotImplemented();
    case 2: return AnyException();
    case 3: return AnyNullException();
    case 4: return AnyDereferenceException();
    case 5: return AnyUnknownTypeException();
    default: return AnyCastException();
    }
}

/// True when `e` is of class `index` exactly as far as the rethrow test needs: its own class.
bool isOfClass(const Exception& e, int index) {
    using namespace Tessel::Dictionary;
    switch (index) {
    case 0: return dynamic_cast<const AnyException*>(&e) == nullptr &&
                   dynamic_cast<const Tessel::Base::NotImplemented*>(&e) == nullptr;
    case 1: return dynamic_cast<const Tessel::Base::NotImplemented*>(&e) != nullptr;
    case 2: return dynamic_cast<const AnyException*>(&e) != nullptr && dynamic_cast<const AnyNullException*>(&e) == nullptr &&
                   dynamic_cast<const AnyDereferenceException*>(&e) == nullptr &&
                   dynamic_cast<const AnyUnknownTypeException*>(&e) == nullptr &&
                   dynamic_cast<const AnyCastException*>(&e) == nullptr;
    case 3: return dynamic_cast<const AnyNullException*>(&e) != nullptr;
    case 4: return dynamic_cast<const AnyDereferenceException*>(&e) != nullptr;
    case 5: return dynamic_cast<const AnyUnknownTypeException*>(&e) != nullptr;
    default: return dynamic_cast<const AnyCastException*>(&e) != nullptr;
    }
}

class Run {
public:
    /// Each slot starts as a default-constructed exception of a class the input picks.
    explicit Run(FuzzInput& in) : mIn(in) {
        for (std::size_t i = 0; i < kSlots; ++i) {
            const int index = static_cast<int>(mIn.below(kClassCount));
            mSlots[i] = defaultOf(index);
            if (kClassMessages[index] != nullptr) {
                modelAddText(mModels[i].items, "UserMessage", kClassMessages[index]);
            }
        }
    }

    void operate() {
        const std::size_t a = mIn.below(kSlots);
        const std::size_t b = mIn.below(kSlots);
        switch (mIn.below(10)) {
        case 0: addText(a); break;
        case 1: addNumber(a); break;
        case 2: addPrevious(a, b); break;
        case 3: copy(a, b); break;
        case 4: throwAndRethrow(a); break;
        case 5: describe(a); break;
        case 6: fill(a); break;
        case 7: rethrowSlot(a); break;
        case 8: readableName(); break;
        default: {
            const Exception& same = mSlots[a];
            mSlots[a] = same; // self-assignment changes nothing
            break;
        }
        }
        checkAgainstModel(mSlots[a], mModels[a]);
        checkAgainstModel(mSlots[b], mModels[b]);
    }

    void finish() {
        for (std::size_t i = 0; i < kSlots; ++i) {
            checkAgainstModel(mSlots[i], mModels[i]);
            checkTexts(mSlots[i], mModels[i]);
        }
    }

private:
    /// A key: a known one, or new text kept alive in the pool.
    const char* key() {
        const std::size_t choice = mIn.below(sizeof kKnownKeys / sizeof kKnownKeys[0] + 1);
        if (choice < sizeof kKnownKeys / sizeof kKnownKeys[0]) {
            return kKnownKeys[choice];
        }
        mKeys.push_back(mIn.text());
        return mKeys.back().c_str();
    }

    /// Text for a value or template: arbitrary, or built from placeholders of known keys.
    std::string value() {
        std::string text = mIn.text();
        const std::size_t placeholders = mIn.below(4);
        for (std::size_t i = 0; i < placeholders; ++i) {
            text += "%%(" + std::string(kKnownKeys[mIn.below(sizeof kKnownKeys / sizeof kKnownKeys[0])]) + ")%%";
            text += mIn.text();
        }
        return text;
    }

    void addText(std::size_t slot) {
        const char* k = key();
        const std::string v = value();
        const ExceptionInfo<std::string> item(k, v);
        ExceptionDecoration& decoration = mSlots[slot] << item;
        TSFUZZ_CHECK(&decoration == &mSlots[slot], "operator<< returns the decoration");
        modelAddText(mModels[slot].items, k, v);
    }

    void addNumber(std::size_t slot) {
        const char* k = key();
        const int number = mIn.bits<int>();
        mSlots[slot] << ExceptionInfo<int>(k, number);
        ModelItem item;
        item.isInt = true;
        item.number = number;
        modelAdd(mModels[slot].items, k, item);
    }

    void addPrevious(std::size_t slot, std::size_t earlier) {
        const Model before = mModels[earlier];
        mSlots[slot].addPrevious(mSlots[earlier]);
        modelAddPrevious(mModels[slot], before);
    }

    void copy(std::size_t target, std::size_t source) {
        if (mIn.flag()) {
            const Exception copied(mSlots[source]);
            checkAgainstModel(copied, mModels[source]);
            mSlots[target] = copied;
        } else {
            mSlots[target] = mSlots[source];
        }
        mModels[target] = mModels[source];
    }

    void throwAndRethrow(std::size_t slot) {
        const int index = static_cast<int>(mIn.below(kClassCount));
        mKeys.push_back(mIn.text());
        const char* file = mIn.flag() ? mKeys.back().c_str() : nullptr;
        mKeys.push_back(mIn.text());
        const char* function = mIn.flag() ? mKeys.back().c_str() : nullptr;
        const int line = mIn.bits<int>();
        const char* siteKey = key();
        const std::string siteValue = value();

        Model expected;
        if (kClassMessages[index] != nullptr) {
            modelAddText(expected.items, "UserMessage", kClassMessages[index]);
        }
        modelAddText(expected.items, siteKey, siteValue);
        if (file != nullptr) {
            modelAddText(expected.items, "ThrowFile", file);
        }
        ModelItem lineItem;
        lineItem.isInt = true;
        lineItem.number = line;
        modelAdd(expected.items, "ThrowLine", lineItem);
        if (function != nullptr) {
            modelAddText(expected.items, "ThrowFunction", function);
        }
        modelAddText(expected.items, "ExceptionClass", kClassNames[index]);

        boost::exception_ptr captured;
        try {
            throwClass(index, file, line, function, ExceptionInfo<std::string>(siteKey, siteValue));
        } catch (const ExceptionDecoration& caught) {
            const auto* exception = dynamic_cast<const Exception*>(&caught);
            TSFUZZ_CHECK(exception != nullptr && isOfClass(*exception, index), "caught the wrong class");
            checkAgainstModel(*exception, expected);
            captured = boost::current_exception();
            mSlots[slot] = *exception;
        }
        TSFUZZ_CHECK(static_cast<bool>(captured), "current_exception must capture the thrown exception");
        mModels[slot] = expected;
        try {
            boost::rethrow_exception(captured);
        } catch (const Exception& again) {
            TSFUZZ_CHECK(isOfClass(again, index), "a rethrow must keep the class");
            checkAgainstModel(again, expected);
            TSFUZZ_CHECK(again.report() == mSlots[slot].report());
        }
    }

    void rethrowSlot(std::size_t slot) {
        boost::exception_ptr captured;
        try {
            throw boost::enable_current_exception(mSlots[slot]);
        } catch (const Exception&) {
            captured = boost::current_exception();
        }
        try {
            boost::rethrow_exception(captured);
        } catch (const Exception& again) {
            checkAgainstModel(again, mModels[slot]);
            TSFUZZ_CHECK(again.report() == modelReport(mModels[slot]));
        }
    }

    void describe(std::size_t slot) {
        const int indentation = static_cast<int>(mIn.bits<std::int16_t>()) % 200;
        const bool hex = mIn.flag();
        std::ostringstream out;
        if (hex) {
            out << std::hex;
        }
        mSlots[slot].describe(out, indentation);
        const std::string expected =
            modelDescribe(mModels[slot].items, indentation, hex ? std::ios_base::hex : std::ios_base::dec);
        TSFUZZ_CHECK(out.str() == expected, "describe:\n" + out.str() + "model:\n" + expected);
    }

    /// Readable type names of arbitrary text, as the throw sites put them into items.
    void readableName() {
        const std::string raw = mIn.text();
        const std::string name = Tessel::Base::readableTypeName(raw);
        for (std::size_t i = 0; i < name.size(); ++i) {
            if (name[i] == ',') {
                TSFUZZ_CHECK(i + 1 < name.size() && name[i + 1] == ' ', "a comma is followed by a blank");
            }
            if (name[i] == '*') {
                TSFUZZ_CHECK(i > 0 && name[i - 1] == ' ', "a star is preceded by a blank");
            }
        }
        if (raw.find('\0') != std::string::npos || raw.compare(0, 2, "_Z") == 0) {
            // Never demangled: only the replacements apply.
            std::string expected = raw;
            std::string spaced;
            for (const char c : expected) {
                spaced += c;
                if (c == ',') {
                    spaced += ' ';
                }
            }
            if (spaced.compare(0, 6, "class ") == 0) {
                spaced.erase(0, 6);
            }
            expected.clear();
            for (const char c : spaced) {
                if (c == '*') {
                    expected += ' ';
                }
                expected += c;
            }
            TSFUZZ_CHECK(name == expected, "readable name of " + escaped(raw) + " is " + escaped(name));
        }
        TSFUZZ_CHECK(Tessel::Base::readableTypeName(raw.c_str()) == Tessel::Base::readableTypeName(std::string(raw.c_str())));
    }

    void fill(std::size_t slot) {
        const char* k = key();
        TSFUZZ_CHECK(mSlots[slot].getFilledString(k) == modelFill(mModels[slot].items, k),
                     "filled " + escaped(k) + ": " + escaped(mSlots[slot].getFilledString(k)));
    }

    FuzzInput& mIn;
    // The key pool is declared first, so it outlives every item that points into it.
    std::deque<std::string> mKeys;
    std::array<Exception, kSlots> mSlots;
    std::array<Model, kSlots> mModels;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    Run run(in);
    for (int step = 0; step < 48 && !in.exhausted(); ++step) {
        run.operate();
    }
    run.finish();
    return 0;
}
