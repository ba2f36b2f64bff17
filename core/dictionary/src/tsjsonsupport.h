#ifndef TESSEL_DICTIONARY_TSJSONSUPPORT_H
#define TESSEL_DICTIONARY_TSJSONSUPPORT_H

// What the JSON reader and writer share: the built-in types by label, the tag syntax, key paths
// and the one place that throws JsonException.

#include <dictionary/tsany.h>
#include <dictionary/tsanytype.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Tessel::Dictionary::Impl::Json {

/// The built-in labels, in the order of the label constants; kHostType stands for any other.
enum Label : int {
    kBool, kChar, kInt8, kUInt8, kInt16, kUInt16, kInt32, kUInt32, kInt64, kUInt64,
    kFloat, kDouble, kString, kDictionary, kVector, kTimeBase, kHostType
};

/// The registered built-in types, and a default value of each to copy new values from (copying
/// into an empty Any needs no registry lookup and no interning, unlike Any::set).
struct BuiltinTypes {
    const AnyType* type[kHostType];
    Any prototype[kHostType];
    /// The label texts (interned, so valid for the rest of the process).
    std::string_view text[kHostType];
};

/// The process-wide table, made on first use.
const BuiltinTypes& builtins();

/// The built-in label of `type`, or kHostType.
Label labelOf(const AnyType* type) noexcept;

/// The built-in label whose text is `text`, or kHostType.
Label labelNamed(std::string_view text) noexcept;

/// A key that starts with this character is a tag ("!int32"); a dictionary key that starts with
/// it is written with it doubled ("!!x" for the key "!x").
constexpr char kTagMark = '!';

/// Appends one key-path segment to `path`: "/" between segments, "~" as "~0", "/" as "~1".
void appendPathSegment(std::string& path, std::string_view segment);

/// Throws JsonException for a value that cannot be written. Records `file` and `line` as the
/// throw site and `function` as "ThrowFunction".
[[noreturn]] void throwWriteError(const char* file, int line, const char* function,
                                  const std::string& reason, const std::string& keyPath);

/// Throws JsonException for a document that cannot be read: `offset` is the index of the
/// offending byte in `text` (text.size() at its end), from which "Line" and "Column" are counted.
[[noreturn]] void throwReadError(const char* file, int line, const char* function,
                                 const std::string& reason, const std::string& keyPath,
                                 std::string_view text, std::size_t offset);

} // namespace Tessel::Dictionary::Impl::Json

#endif
