// JsonException, the built-in type table of the JSON bridge, key paths and the error reports.

#include "tsjsonsupport.h"

#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tsdictionary.h>
#include <dictionary/tsjson.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tstimebase.h>

#include <algorithm>
#include <climits>
#include <vector>

namespace Tessel::Dictionary {

JsonException::JsonException() {
    *this << Base::ExceptionInfo<std::string>("UserMessage", "JSON error %%(Location)%%: %%(Reason)%%.");
}

JsonException::~JsonException() = default;

namespace Impl::Json {

namespace {

// The label constants in the order of Label.
const TypeAtom* const kLabelAtoms[kHostType] = {
    &gTypeLabelBool,   &gTypeLabelChar,          &gTypeLabelInt8,         &gTypeLabelUnsignedInt8,
    &gTypeLabelInt16,  &gTypeLabelUnsignedInt16, &gTypeLabelInt32,        &gTypeLabelUnsignedInt32,
    &gTypeLabelInt64,  &gTypeLabelUnsignedInt64, &gTypeLabelFloat,        &gTypeLabelDouble,
    &gTypeLabelString, &gTypeLabelDictionary,    &gTypeLabelVector,       &gTypeLabelTimeBase};

BuiltinTypes makeTable() {
    BuiltinTypes table{};
    for (int label = 0; label < kHostType; ++label) {
        table.type[label] = AnyTypeRegistry::typeByLabel(*kLabelAtoms[label]);
        table.text[label] = kLabelAtoms[label]->getString();
    }
    Any* prototype = table.prototype;
    prototype[kBool].set(false);
    prototype[kChar].set(char(0));
    prototype[kInt8].set(static_cast<signed char>(0));
    prototype[kUInt8].set(static_cast<unsigned char>(0));
    prototype[kInt16].set(short(0));
    prototype[kUInt16].set(static_cast<unsigned short>(0));
    prototype[kInt32].set(0);
    prototype[kUInt32].set(0U);
    prototype[kInt64].set(0LL);
    prototype[kUInt64].set(0ULL);
    prototype[kFloat].set(0.0F);
    prototype[kDouble].set(0.0);
    prototype[kString].set(std::string());
    prototype[kDictionary].set(Dictionary());
    prototype[kVector].set(std::vector<Any>());
    prototype[kTimeBase].set(Base::TimeBase());
    return table;
}

const BuiltinTypes& table() {
    static const BuiltinTypes instance = makeTable();
    return instance;
}

void appendInt(std::string& text, std::size_t value) {
    text += std::to_string(std::min<std::size_t>(value, INT_MAX));
}

} // namespace

const BuiltinTypes& builtins() {
    return table();
}

Label labelOf(const AnyType* type) noexcept {
    // The labels that JSON documents hold most often come first.
    static constexpr Label kScanOrder[kHostType] = {kString, kInt64, kDouble, kDictionary, kVector, kBool,
                                                   kInt32, kFloat, kUInt64, kTimeBase, kChar, kInt8,
                                                   kUInt8, kInt16, kUInt16, kUInt32};
    const auto& types = table().type;
    for (const Label label : kScanOrder) {
        if (types[label] == type) {
            return label;
        }
    }
    return kHostType;
}

Label labelNamed(std::string_view text) noexcept {
    const auto& texts = table().text;
    for (int label = 0; label < kHostType; ++label) {
        if (texts[label] == text) {
            return static_cast<Label>(label);
        }
    }
    return kHostType;
}

void appendPathSegment(std::string& path, std::string_view segment) {
    if (!path.empty()) {
        path += '/';
    }
    for (const char c : segment) {
        if (c == '~') {
            path += "~0";
        } else if (c == '/') {
            path += "~1";
        } else {
            path += c;
        }
    }
}

void throwWriteError(const char* file, int line, const char* function, const std::string& reason,
                     const std::string& keyPath) {
    const Base::ExceptionInfo<std::string> reasonItem("Reason", reason);
    const Base::ExceptionInfo<std::string> pathItem("KeyPath", keyPath);
    const Base::ExceptionInfo<std::string> location(
        "Location", keyPath.empty() ? std::string("at the top level") : "at key path '" + keyPath + "'");
    Base::throwException<JsonException>(file, line, function, reasonItem, pathItem, location);
}

void throwReadError(const char* file, int line, const char* function, const std::string& reason,
                    const std::string& keyPath, std::string_view text, std::size_t offset) {
    offset = std::min(offset, text.size());
    const std::string_view before = text.substr(0, offset);
    const std::size_t lineNumber = 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    const std::size_t lastBreak = before.rfind('\n');
    const std::size_t column = offset - (lastBreak == std::string_view::npos ? 0 : lastBreak + 1) + 1;

    std::string where = "at line ";
    appendInt(where, lineNumber);
    where += ", column ";
    appendInt(where, column);
    if (!keyPath.empty()) {
        where += ", key path '" + keyPath + "'";
    }
    const Base::ExceptionInfo<std::string> reasonItem("Reason", reason);
    const Base::ExceptionInfo<std::string> pathItem("KeyPath", keyPath);
    const Base::ExceptionInfo<int> lineItem("Line", static_cast<int>(std::min<std::size_t>(lineNumber, INT_MAX)));
    const Base::ExceptionInfo<int> columnItem("Column", static_cast<int>(std::min<std::size_t>(column, INT_MAX)));
    const Base::ExceptionInfo<std::string> location("Location", where);
    Base::throwException<JsonException>(file, line, function, reasonItem, pathItem, lineItem, columnItem,
                                        location);
}

} // namespace Impl::Json

} // namespace Tessel::Dictionary
