#ifndef TESSEL_DICTIONARY_TSJSON_H
#define TESSEL_DICTIONARY_TSJSON_H

/// @file
/// JSON in and out for values: toJson() and fromJson() (and their stream forms) turn any Any into
/// JSON text and back. The typed form, the default, keeps every label and every bit of content,
/// so fromJson(toJson(v)) holds exactly what v holds; the plain form writes natural JSON for other
/// programs. Bad documents throw JsonException with the line, column and key path of the fault.
///
/// @code
/// Any clip;
/// clip.set(Dictionary());
/// clip["width"].set(1920);                    // an "int32"
/// std::string text = toJson(clip);           // {"width":{"!int32":1920}}
/// Any back = fromJson(text);                  // "width" is an "int32" 1920 again
/// @endcode
///
/// The typed and plain forms and the reading rules are described in docs/json.md.

#include <dictionary/tsany.h>
#include <dictionary/tsanyexception.h>
#include <foundation/tsexport.h>

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Tessel::Dictionary {

/// The two ways of writing a value as JSON.
enum class JsonForm {
    /// Every label kept: values JSON cannot tell apart by itself are wrapped as {"!label": ...}.
    Typed,
    /// Natural JSON for other programs: labels dropped, time bases as "num/den" strings; NaN and
    /// infinities are refused.
    Plain
};

/// How toJson() writes and how fromJson() reads.
struct JsonOptions {
    /// The form written; fromJson() reads both forms alike.
    JsonForm form = JsonForm::Typed;
    /// Spaces per nesting level; 0 writes the whole document on one line without blanks.
    unsigned indent = 0;
    /// Deepest nesting of arrays and objects, as written in the text, that is read or written.
    /// Deeper documents and values are refused with JsonException.
    std::size_t maxDepth = 1000;
};

/// A JSON document that cannot be read, or a value that cannot be written as JSON.
///
/// Items: "Reason" (what is wrong), "KeyPath" (where in the value: keys and element indices
/// joined by "/", with "~" written "~0" and "/" written "~1"; empty at the top level), and, when
/// reading, "Line" and "Column" (int, from 1; the column counts bytes) of the fault in the text.
/// "Location" holds the same place as readable text for the user message.
class TS_API JsonException : public AnyException {
public:
    /// Adds the user message "JSON error %%(Location)%%: %%(Reason)%%."
    JsonException();
    /// Copies all items.
    JsonException(const JsonException& other) = default;
    /// Frees the items.
    ~JsonException() override;
};

/// Writes `value` as one JSON document. Throws JsonException, writing nothing, for a string or
/// key that is not valid UTF-8, for NaN or an infinity in the plain form, for nesting deeper than
/// options.maxDepth, or for a host type whose text form fails.
TS_API std::string toJson(const Any& value, const JsonOptions& options = {});

/// Reads one JSON document. Tagged values come back with their labels, everything else by the
/// plain rules (integers as "int64", other numbers as "double", null as an empty value...).
/// Throws JsonException for any text that is not one JSON document, for an object that repeats a
/// key, for nesting deeper than options.maxDepth and for contradictory tags; nothing is returned.
TS_API Any fromJson(std::string_view text, const JsonOptions& options = {});

/// toJson() written to `os` in one piece; on JsonException nothing is written.
TS_API void writeJson(std::ostream& os, const Any& value, const JsonOptions& options = {});

/// fromJson() of everything left in `is`, read to its end.
TS_API Any readJson(std::istream& is, const JsonOptions& options = {});

} // namespace Tessel::Dictionary

#endif
