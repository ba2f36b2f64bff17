#ifndef TESSEL_DICTIONARY_TSANY_H
#define TESSEL_DICTIONARY_TSANY_H

/// @file
/// Any, the dynamically typed value: empty, owning one value of a registered type, or bound to a
/// variable of the host; BindValue hands such a variable over.
///
///     Any width = 1920;                    // owns an "int32"
///     int playhead = 0;
///     Any bound{Tessel::Dictionary::BindValue(playhead)};   // refers to playhead
///     bound = width;                       // playhead == 1920
///     double d = width.as<double>();       // a converting read: 1920.0

#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytyperegistry.h>
#include <foundation/tsexception.h>
#include <foundation/tsexport.h>
#include <foundation/tsnameatom.h>

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace Tessel::Base::SkeinHash {
class Engine;
} // namespace Tessel::Base::SkeinHash

namespace Tessel::Dictionary {

class Any;
class BindValue;
class Dictionary;

namespace Impl {
/// True for a C string or an array of char: such text keeps Any's const char* overloads.
template <class T>
inline constexpr bool kIsCharText =
    std::is_same_v<std::remove_cv_t<T>, char*> || std::is_same_v<std::remove_cv_t<T>, const char*> ||
    (std::is_array_v<T> && std::is_same_v<std::remove_cv_t<std::remove_extent_t<T>>, char>);

/// True for the host types that Any's value constructor and value assignment take: every type but
/// Any (and classes derived from it), BindValue, C strings and char arrays, which have overloads of
/// their own, and std::nullptr_t, which stays a null C string.
template <class T>
inline constexpr bool kIsAnyValue = !std::is_base_of_v<Any, T> && !std::is_same_v<T, BindValue> &&
                                    !std::is_same_v<T, std::nullptr_t> && !kIsCharText<T>;

class NestedValues;
} // namespace Impl

/// A caller's variable handed to an Any to be bound: its address and its host type.
/// The variable is neither owned nor copied; it must outlive every Any bound to it.
class TS_API BindValue {
public:
    /// Binds `variable`, whose host type is T. Const variables cannot be bound.
    template <class T, class = std::enable_if_t<!std::is_same_v<std::decay_t<T>, BindValue>>>
    explicit BindValue(T& variable) noexcept
        : mAddress(static_cast<void*>(std::addressof(variable))), mTypeInfo(&typeid(T)) {
        static_assert(!std::is_const_v<T>, "a const variable cannot be bound to an Any");
    }
    /// Binds the variable at `address`, whose host type is `type`.
    BindValue(void* address, const std::type_info& type) noexcept
        : mAddress(address), mTypeInfo(&type) {}

    /// The variable's address.
    void* address() const noexcept { return mAddress; }
    /// The variable's host type.
    const std::type_info& typeInfo() const noexcept { return *mTypeInfo; }

private:
    void* mAddress;
    const std::type_info* mTypeInfo;
};

/// A dynamically typed value: empty, owning one value of a registered value type, or bound to a
/// variable of the caller.
///
/// A value that has a type keeps it: assignments copy or convert into the existing value (through
/// to a bound variable); only clear(), reset(), rebinding, parse() and parseExact() change the
/// type. Copies are deep and always own. Values nest to any depth: copying, comparing, signing
/// and destroying do not recurse on the C++ stack (a value must not contain itself, which only a
/// binding can do).
///
/// What a throwing assignment leaves: a scalar, string or time base is unchanged; a dictionary
/// whose copy fails is left empty; a vector is assigned element by element, so it may stop
/// half-way, with the elements before the failing one assigned, that one left as its own type's
/// assignment leaves it, and the rest as they were.
///
/// Values are written as they are in C++:
///
///     Any width = 1920;                    // an owned "int32" (the literal 0 too)
///     Any name = std::string("intro");     // a "string", as "intro" and std::string_view are
///     width = 2048.7;                      // keeps "int32", converts: 2048
///     std::vector<Any> row{1, 2.5, "x"};   // "int32", "double", "string"
///     Any moved = std::move(width);        // takes the value over; `width` is now empty
class TS_API Any {
public:
    /// An empty value.
    Any() noexcept = default;
    /// A deep copy that owns its value, also when `other` is bound.
    Any(const Any& other);
    /// Binds to the caller's variable. Throws AnyUnknownTypeException for an unregistered host
    /// type or a null address.
    Any(const BindValue& value); // NOLINT(google-explicit-constructor)
    /// Owns a string holding `text` (null gives the empty string).
    Any(const char* text); // NOLINT(google-explicit-constructor)
    /// Frees an owned value; a bound variable is untouched.
    ~Any();

    /// Owns a copy of `value` as the type registered for T: `Any(1920)` is an "int32", `Any(0)`
    /// too, `Any(2.5)` a "double", a std::string or std::string_view a "string". BindValue, Any,
    /// C strings, char arrays and nullptr keep their own overloads. Throws AnyUnknownTypeException
    /// when T has no registered type.
    template <class T, std::enable_if_t<Impl::kIsAnyValue<T>, int> = 0>
    Any(const T& value) { // NOLINT(google-explicit-constructor): values are written as they are
        if constexpr (std::is_same_v<std::remove_cv_t<T>, std::string_view>) {
            const std::string text(value);
            initFromValue(&text, typeid(std::string));
        } else {
            initFromValue(std::addressof(value), typeid(T));
        }
    }
    /// Takes over `other`'s value without copying it: an owned value moves with its storage, a
    /// bound one stays bound to the same variable. `other` is left empty.
    Any(Any&& other) noexcept : mType(other.mType), mValue(other.mValue), mOwned(other.mOwned) {
        other.mType = nullptr;
        other.mValue = nullptr;
        other.mOwned = nullptr;
    }
    /// Assigns `value` by the rule of Any assignment: an empty target owns a copy as T's
    /// registered type; a typed target keeps its type and copies (T is its host type or an alias)
    /// or converts through a registered cast from T. Throws AnyUnknownTypeException when T has no
    /// registered type and AnyCastException without a cast, leaving the value unchanged.
    template <class T, std::enable_if_t<Impl::kIsAnyValue<T>, int> = 0>
    Any& operator=(const T& value) {
        if constexpr (std::is_same_v<std::remove_cv_t<T>, std::string_view>) {
            const std::string text(value);
            assignFromValue(&text, typeid(std::string));
        } else {
            assignFromValue(std::addressof(value), typeid(T));
        }
        return *this;
    }
    /// Into an empty target, takes over `other`'s value as the move constructor does and leaves
    /// `other` empty (noexcept on this path; `other` must not contain this value). Into a typed
    /// target it is the copy assignment: the target keeps its type, `other` keeps its value, and
    /// it may throw as that one does. So a moved-from value is empty unless it was moved into a
    /// typed target. A container that moves elements onto live ones (std::vector::erase, insert)
    /// therefore assigns by this rule.
    Any& operator=(Any&& other);

    /// Copies `other` into this value: an empty target takes an owned copy of `other`'s type; a
    /// typed target keeps its type and copies (same type) or converts (registered cast) into its
    /// value. Throws AnyNullException for an empty `other` or AnyCastException without a cast,
    /// leaving the target unchanged; a vector target copies element by element and may stop
    /// half-way (see the class comment).
    Any& operator=(const Any& other);
    /// Drops whatever is held and binds to the caller's variable (empty if it throws).
    Any& operator=(const BindValue& value);
    /// An empty target becomes an owned string; a string value takes the text; any other type
    /// converts from `char*` through a registered cast or throws AnyCastException, unchanged.
    Any& operator=(const char* text);

    /// Frees an owned value and becomes empty; a bound variable is untouched.
    void clear() noexcept;
    /// Becomes an owned string holding `text` (null gives the empty string), whatever was held.
    void reset(const char* text);
    /// As reset(const char*).
    void reset(char* text) { reset(static_cast<const char*>(text)); }

    /// True when there is no value.
    bool isEmpty() const noexcept { return mValue == nullptr; }
    /// The value's type, or null when empty.
    const AnyType* type() const noexcept { return mType; }

    /// Stores an owned copy of `value` as the type registered for T. The Any must be empty.
    /// Throws AnyUnknownTypeException, leaving it empty, when T has no registered type.
    template <class T>
    void set(const T& value);
    /// clear(), then set(value).
    template <class T>
    void reset(const T& value) {
        clear();
        set(value);
    }

    /// Reads the value into `variable`: copied when T is the held host type, otherwise converted
    /// by a registered cast out of the held type. Throws AnyNullException when empty and
    /// AnyCastException (variable unchanged) when no cast exists.
    template <class T>
    void get(T& variable) const;
    /// The value as a T (see get()). T must be default-constructible.
    template <class T>
    T as() const {
        T result{};
        get(result);
        return result;
    }

    /// The held value as a T, for reading and writing in place (the bound variable itself when
    /// bound). T must be the held host type or one of its aliases. Throws AnyNullException when
    /// empty and AnyDereferenceException when the value cannot be viewed as a T.
    template <class T>
    T& ref();
    /// As ref(), but only the exact host type is accepted, not an alias.
    template <class T>
    const T& ref() const;

    /// The held dictionary (see ref()).
    Dictionary& dict();
    /// The held dictionary (see ref() const).
    const Dictionary& dict() const;
    /// The held vector of values (see ref()).
    std::vector<Any>& vec();
    /// The held vector of values (see ref() const).
    const std::vector<Any>& vec() const;

    /// The entry `key` of the held dictionary, inserted empty when missing.
    Any& operator[](const Base::NameAtom<Any>& key);
    /// The entry `key` of the held dictionary, or the shared empty entry; inserts nothing.
    const Any& operator[](const Base::NameAtom<Any>& key) const;
    /// As operator[](NameAtom<Any>(name)); the text is interned on every call.
    Any& operator[](const char* name);
    /// As operator[](NameAtom<Any>(name)) const; the text is interned on every call.
    const Any& operator[](const char* name) const;
    /// Element `index` of the held vector. The caller keeps the index within the vector.
    Any& operator[](int index);
    /// Element `index` of the held vector. The caller keeps the index within the vector.
    const Any& operator[](int index) const;
    /// Element `index` of the held vector. The caller keeps the index within the vector.
    Any& operator[](unsigned int index);
    /// Element `index` of the held vector. The caller keeps the index within the vector.
    const Any& operator[](unsigned int index) const;

    /// True when both hold the same type object and its equal() holds; two empty values are
    /// equal. Values of different types are never equal; nothing is converted.
    bool operator==(const Any& other) const;
    /// The negation of ==.
    bool operator!=(const Any& other) const;

    /// Writes the value's text form, with nothing around it; an empty value writes nothing.
    void write(std::ostream& os) const;
    /// Reads the value in place as its existing type (into a bound variable too); an empty value
    /// reads nothing. Failures show only in the stream's state.
    void read(std::istream& is);
    /// Makes this value an owned value of `type` read from `text` (a bound variable is detached
    /// and keeps its value). Text that fails to parse is not reported.
    void parse(const std::string& text, const AnyType& type);

    /// Feeds the value's bytes to `engine` (nothing for an empty value) and returns `engine`.
    Base::SkeinHash::Engine& signature(Base::SkeinHash::Engine& engine) const;

    // --- key paths ---------------------------------------------------------------------------------
    // A path is a list of segments joined by "/", without a leading "/"; the empty path names the
    // value itself. In a dictionary a segment is a key; in a vector it is an index written in
    // decimal without leading zeros ("shots/3/camera/fps"). A key holding "/" or "~" is written
    // with "~1" and "~0". Path lookups never insert and never intern a key.

    /// The value at `path`, or null when the path does not resolve (a missing key, an index out
    /// of range, a step into a value that is no dictionary or vector, a bad "~" escape).
    Any* findPath(std::string_view path);
    /// The value at `path`, or null when the path does not resolve.
    const Any* findPath(std::string_view path) const;
    /// The value at `path`. Throws AnyPathException, whose "KeyPath" is the path up to and
    /// including the segment that failed, when the path does not resolve.
    Any& atPath(std::string_view path);
    /// The value at `path`; throws AnyPathException when the path does not resolve.
    const Any& atPath(std::string_view path) const;
    /// The value at `path` read as a T, as as<T>() reads it. Every exception it throws carries
    /// the "KeyPath" item: AnyPathException when the path does not resolve, AnyNullException or
    /// AnyCastException from the read.
    template <class T>
    T valueAtPath(std::string_view path) const;

    // --- checked text ------------------------------------------------------------------------------

    /// Reads `text` as exactly one value of `type` and stores it; unlike parse(), bad text is an
    /// error. The whole text must be the value: integers in range ("int8" and "uint8" as numbers),
    /// "bool" as true, false, 1 or 0, "float" and "double" in decimal or scientific notation, nan
    /// or inf, refused beyond the type's range or where they would round to zero, "timebase" as
    /// "25", "29.97" (the fraction TimeBase(float) chooses) or "num/den" with unsigned 64-bit
    /// integers, "char" as exactly one character, and "string" as the whole text, blanks and all.
    /// Numbers and time bases may be surrounded by spaces and tabs. A registered type of the host
    /// is read with its own read(), which must use up all but surrounding blanks.
    ///
    /// A value that already holds `type`, owned or bound, is written in place (through to a bound
    /// variable); any other value becomes an owned value of `type`. Throws AnyParseException
    /// ("Text", "Type", "Reason") for bad text and for types without a text form ("dictionary",
    /// "vector"); the value is then unchanged, and a bound one stays bound.
    void parseExact(const std::string& text, const AnyType& type);
    /// A text that parseExact() reads back to an equal value, for every built-in scalar, string
    /// and time base: integers in decimal, "bool" as true or false, "float" and "double" with the
    /// shortest digits that read back to the same number (a NaN reads back as a NaN), "timebase"
    /// as "num/den", "char" and "string" as they are. A host's registered type gives what its
    /// write() gives under the classic locale. Throws AnyNullException when empty and
    /// NotImplemented for a dictionary or vector.
    std::string exactText() const;

    // --- exact assignment: the assignment above, refusing to lose information ------------------
    /// As operator=(const Any&), except that a conversion whose stored result would not equal
    /// `other`'s value (out of range, a fraction dropped, NaN or infinity into an integer, a
    /// rounding, anything but 0 or 1 into bool) throws AnyInexactConversionException ("FromType",
    /// "ToType", "Value") and leaves this value unchanged. A NaN counts as equal to a NaN.
    /// Same-type assignment of a scalar, string, time base or dictionary always succeeds; a vector
    /// is assigned element by element, so every element is checked before any is written (an
    /// allocation failure while writing can still leave earlier elements assigned). Throws
    /// AnyNullException and AnyCastException where operator= does, also for a vector's elements.
    Any& assignExact(const Any& other);
    /// assignExact() of `value` as the type registered for T, which is only viewed, not copied,
    /// unless this value is empty. Throws AnyUnknownTypeException when T has no registered type.
    template <class T>
    Any& assignExact(const T& value) {
        const BindValue view(const_cast<void*>(static_cast<const void*>(std::addressof(value))), typeid(T));
        const Any source(view);
        return assignExact(source);
    }
    // --- end of exact assignment ---------------------------------------------------------------

protected:
    /// The value constructor's work: owns a copy of the value at `from`, of host type `hostType`.
    /// Throws AnyUnknownTypeException, leaving the value empty, when no type is registered for it.
    void initFromValue(const void* from, const std::type_info& hostType);
    /// The value assignment's work: assigns the value at `from`, of host type `hostType`, by the
    /// rule of Any assignment. Throws as operator=(const T&) says, leaving the value unchanged.
    void assignFromValue(const void* from, const std::type_info& hostType);

    /// Stores an owned copy of the value at `from` as `type`; false (and empty) when `type` is
    /// null. The Any must be empty. `hostType` is informational.
    bool set(const void* from, const std::type_info& hostType, const AnyType* type);
    /// Binds to the variable at `storage`. The Any must be empty. Throws AnyUnknownTypeException,
    /// leaving it empty, for an unregistered host type or a null address.
    void bind(void* storage, const std::type_info& hostType);

private:
    friend class AnyType;
    friend class Impl::NestedValues;

    const AnyType* mType = nullptr;
    void* mValue = nullptr;
    void* mOwned = nullptr;
};

namespace Impl {
/// Path recorded as "ThrowFile" by the throw sites of this header, which compile in the host.
inline constexpr const char kAnyHeaderPath[] = "core/dictionary/include/dictionary/tsany.h";
} // namespace Impl

template <class T>
void Any::set(const T& value) {
    AnyTypeRegistry::get();
    const AnyType* found = AnyTypeRegistry::typeByName(TypeAtom(typeid(T).name()));
    if (!set(&value, typeid(T), found)) {
        const Base::ExceptionInfo<std::string> typeItem("Type", Base::readableTypeName(typeid(T).name()));
        // One line, so that every compiler records the same "ThrowLine".
        TS_THROW_IN(Impl::kAnyHeaderPath, AnyUnknownTypeException, "Tessel::Dictionary::Any::set", typeItem);
    }
}

namespace Impl {
/// Throws the AnyDereferenceException of a typed view of `held` as `wanted`.
[[noreturn]] TS_API void throwDereference(const AnyType& held, const std::type_info& wanted, int line);
} // namespace Impl

template <class T>
T& Any::ref() {
    if (mType == nullptr) {
        TS_THROW_IN(Impl::kAnyHeaderPath, AnyNullException, "Tessel::Dictionary::Any::ref");
    }
    if (!mType->supportsType(typeid(T))) {
        Impl::throwDereference(*mType, typeid(T), __LINE__);
    }
    return *static_cast<T*>(mValue);
}

template <class T>
const T& Any::ref() const {
    if (mType == nullptr) {
        TS_THROW_IN(Impl::kAnyHeaderPath, AnyNullException, "Tessel::Dictionary::Any::ref");
    }
    if (!mType->matchesType(typeid(T))) {
        Impl::throwDereference(*mType, typeid(T), __LINE__);
    }
    return *static_cast<const T*>(mValue);
}

namespace Impl {
/// Adds the "KeyPath" item `path` to an exception on its way out of a path read.
TS_API void addKeyPath(Base::ExceptionDecoration& exception, std::string_view path);
} // namespace Impl

template <class T>
T Any::valueAtPath(std::string_view path) const {
    const Any& value = atPath(path);
    try {
        return value.as<T>();
    } catch (Base::ExceptionDecoration& e) {
        Impl::addKeyPath(e, path);
        throw;
    }
}

template <class T>
void Any::get(T& variable) const {
    if (mType == nullptr) {
        TS_THROW_IN(Impl::kAnyHeaderPath, AnyNullException, "Tessel::Dictionary::Any::get");
    }
    if (mType->matchesType(typeid(T))) {
        variable = *static_cast<const T*>(mValue);
        return;
    }
    mType->castFromMine(*this, std::addressof(variable), TypeAtom(typeid(T).name()));
}

} // namespace Tessel::Dictionary

#endif
