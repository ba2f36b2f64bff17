#ifndef TESSEL_DICTIONARY_TSANYEXCEPTION_H
#define TESSEL_DICTIONARY_TSANYEXCEPTION_H

/// @file
/// The errors of values and dictionaries: AnyException and the subclasses that say what went
/// wrong, each with a user message filled from its items.
///
///     try {
///         Any text = "intro";
///         text = 2.5;                      // a "string" keeps its type: no cast from double
///     } catch (const AnyCastException& e) {
///         std::cerr << e.userMessage();    // "Don't know how to cast dictionary entry from type 'double' ..."
///     }

#include <foundation/tsexception.h>

namespace Tessel::Dictionary {

/// Base of the errors of values and dictionaries. Carries no user message of its own.
class TS_API AnyException : public Base::Exception {
public:
    /// No items.
    AnyException() = default;
    /// Copies every item.
    AnyException(const AnyException& other) = default;
    /// Deletes the items.
    ~AnyException() override;
};

/// An empty value was used where a value is needed.
/// "Attempted to access an empty dictionary entry."
class TS_API AnyNullException : public AnyException {
public:
    /// Sets the user message.
    AnyNullException();
    /// Copies every item.
    AnyNullException(const AnyNullException& other) = default;
    /// Deletes the items.
    ~AnyNullException() override;
};

/// A value was asked for as a host type it cannot be viewed as ("FromType", "ToType").
class TS_API AnyDereferenceException : public AnyException {
public:
    /// Sets the user message; the throw site adds the items.
    AnyDereferenceException();
    /// Copies every item.
    AnyDereferenceException(const AnyDereferenceException& other) = default;
    /// Deletes the items.
    ~AnyDereferenceException() override;
};

/// A host type has no registered value type ("Type").
class TS_API AnyUnknownTypeException : public AnyException {
public:
    /// Sets the user message; the throw site adds the items.
    AnyUnknownTypeException();
    /// Copies every item.
    AnyUnknownTypeException(const AnyUnknownTypeException& other) = default;
    /// Deletes the items.
    ~AnyUnknownTypeException() override;
};

/// No conversion is registered between two host types ("FromType", "ToType").
class TS_API AnyCastException : public AnyException {
public:
    /// Sets the user message; the throw site adds the items.
    AnyCastException();
    /// Copies every item.
    AnyCastException(const AnyCastException& other) = default;
    /// Deletes the items.
    ~AnyCastException() override;
};

/// A key path named no value ("KeyPath": the path up to and including the segment that failed,
/// "Reason": what was found there). "Nothing at key path '%%(KeyPath)%%': %%(Reason)%%."
class TS_API AnyPathException : public AnyException {
public:
    /// Sets the user message; the throw site adds the items.
    AnyPathException();
    /// Copies every item.
    AnyPathException(const AnyPathException& other) = default;
    /// Deletes the items.
    ~AnyPathException() override;
};

/// A text is not exactly one value of a type ("Text": the text as given, "Type": the type's
/// label, "Reason": what is wrong with it).
/// "Can't read '%%(Text)%%' as %%(Type)%%: %%(Reason)%%."
class TS_API AnyParseException : public AnyException {
public:
    /// Sets the user message; the throw site adds the items.
    AnyParseException();
    /// Copies every item.
    AnyParseException(const AnyParseException& other) = default;
    /// Deletes the items.
    ~AnyParseException() override;
};

/// Any::assignExact refused a conversion that would not keep the value ("FromType", "ToType",
/// "Value"): out of range, a fraction dropped, NaN or infinity into an integer, a rounding.
class TS_API AnyInexactConversionException : public AnyException {
public:
    /// Adds the user message "Can't store the value '%%(Value)%%' of type '%%(FromType)%%' as
    /// type '%%(ToType)%%' without changing it."
    AnyInexactConversionException();
    /// Copies the items.
    AnyInexactConversionException(const AnyInexactConversionException& other) = default;
    /// Deletes the items.
    ~AnyInexactConversionException() override;
};

} // namespace Tessel::Dictionary

#endif
