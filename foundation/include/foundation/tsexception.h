#ifndef TESSEL_FOUNDATION_TSEXCEPTION_H
#define TESSEL_FOUNDATION_TSEXCEPTION_H

/// @file
/// The library's exceptions: keyed information items, user messages filled from them, chains of
/// earlier exceptions and a framed report, all thrown through one procedure (TS_THROW).
///
///     try {
///         TS_THROW(Tessel::Base::NotImplemented, "MyHost::render", Tessel::Base::ExceptionInfo<int>("Frame", 12));
///     } catch (const Tessel::Base::Exception& e) {
///         std::cerr << e.userMessage() << '\n' << e.report(); // "Unimplemented code path.", then
///     }                                                      // class, throw site and items

#include <foundation/tsexport.h>
#include <foundation/tsreadabletypename.h>

#include <boost/exception/exception.hpp>

#include <list>
#include <map>
#include <ostream>
#include <string>
#include <typeinfo>

namespace Tessel::Base {

/// One keyed, typed information item of an exception.
///
/// The key is a pointer to a string literal: it is copied as a pointer, never as text.
class TS_API ExceptionInfoBase {
public:
    /// An item under `key`, which must outlive the item (a string literal).
    explicit ExceptionInfoBase(const char* key) noexcept : mKey(key) {}
    /// Destroys the value.
    virtual ~ExceptionInfoBase();

    /// A new heap copy of the item (same key pointer, copied value). The caller owns it.
    virtual ExceptionInfoBase* clone() const = 0;
    /// Writes the value with the stream's ordinary formatted output and returns `os`.
    virtual std::ostream& writeValue(std::ostream& os) const = 0;

    /// The key text.
    const char* key() const noexcept { return mKey; }

protected:
    /// Copies the key pointer; for clone().
    ExceptionInfoBase(const ExceptionInfoBase&) = default;
    /// Copies the key pointer.
    ExceptionInfoBase& operator=(const ExceptionInfoBase&) = default;

private:
    const char* mKey;
};

/// An information item holding a value of type T (std::string or int).
template <class T>
class ExceptionInfo : public ExceptionInfoBase {
public:
    /// The item `value` under `key` (a string literal).
    ExceptionInfo(const char* key, const T& value) : ExceptionInfoBase(key), mValue(value) {}

    /// A new heap copy of this item. The caller owns it.
    ExceptionInfoBase* clone() const override { return new ExceptionInfo(*this); }
    /// Writes the value with `os << value()` and returns `os`.
    std::ostream& writeValue(std::ostream& os) const override { return os << mValue; }
    /// typeid(T).
    virtual const std::type_info& valueType() const { return typeid(T); }

    /// The stored value.
    const T& value() const noexcept { return mValue; }

private:
    T mValue;
};

// Both instantiations live in the library, so a host and the library agree on their type
// information (getValue<T> tests the dynamic type of an item).
extern template class TS_API ExceptionInfo<std::string>;
extern template class TS_API ExceptionInfo<int>;

/// A set of keyed information items, at most one per key. Owns its items; copies clone them.
///
/// User texts ("UserMessage", "UserSummary", "UserDetail", "UserTitle") are templates whose
/// placeholders "%%(Key)%%" are filled from the other items only when the text is read.
class TS_API ExceptionDecoration {
public:
    /// The items by key text; the decoration owns the pointed-to items.
    using ItemMap = std::map<std::string, ExceptionInfoBase*>;

    /// No items.
    ExceptionDecoration() = default;
    /// Clones every item.
    ExceptionDecoration(const ExceptionDecoration& other);
    /// Replaces the items with clones of `other`'s; on failure nothing changes.
    ExceptionDecoration& operator=(const ExceptionDecoration& other);
    /// Deletes the items.
    virtual ~ExceptionDecoration();

    /// Stores a clone of `item` under its key; an item already under that key is replaced.
    ExceptionDecoration& operator<<(const ExceptionInfoBase& item);

    /// The item under `key`, or null.
    ExceptionInfoBase* getInfo(const std::string& key) const;
    /// The value under `key` if that item is an ExceptionInfo<T>, otherwise null.
    template <class T>
    const T* getValue(const std::string& key) const {
        const auto* item = dynamic_cast<const ExceptionInfo<T>*>(getInfo(key));
        return item == nullptr ? nullptr : &item->value();
    }
    /// The string item under `key` taken as a template and filled; "" when there is none.
    std::string getFilledString(const std::string& key) const;

    /// The filled "UserMessage".
    std::string userMessage() const;
    /// The filled "UserSummary".
    std::string userSummary() const;
    /// The filled "UserDetail".
    std::string userDetail() const;
    /// The filled "UserTitle".
    std::string userTitle() const;

    /// Writes the description block (class, throw site, other items) indented by `indentation`.
    void describe(std::ostream& os, int indentation) const;

    /// All items, ordered by key.
    const ItemMap& items() const noexcept { return mItems; }

protected:
    /// Writes `text` with every complete placeholder replaced by its item.
    void fillTemplate(std::ostream& os, const std::string& text) const;
    /// Writes the item under `key`, or "(key unknown)".
    void writeItem(std::ostream& os, const std::string& key) const;

private:
    ItemMap mItems;
};

/// Root of the library's exceptions: a decoration plus the chain of earlier exceptions.
/// Deliberately not derived from std::exception.
class TS_API Exception : public ExceptionDecoration {
public:
    /// No items and no earlier exceptions.
    Exception() = default;
    /// Copies the items and the chain of earlier exceptions.
    Exception(const Exception& other) = default;
    /// Replaces the items and the chain with copies of `other`'s; on failure nothing changes.
    Exception& operator=(const Exception& other);
    /// Deletes the items and the chain.
    ~Exception() override;

    /// Writes the framed "EXCEPTION REPORT".
    void report(std::ostream& os) const;
    /// The report as a string.
    std::string report() const;
    /// Records `earlier` (and its own chain) as the cause of this exception.
    void addPrevious(const Exception& earlier);

    /// Decorations of earlier exceptions, newest first.
    const std::list<ExceptionDecoration>& previous() const noexcept { return mPrevious; }

private:
    std::list<ExceptionDecoration> mPrevious;
};

/// Thrown where a code path is not implemented. "Unimplemented code path."
class TS_API NotImplemented : public Exception {
public:
    /// Adds the user message.
    NotImplemented();
    /// Copies the items and the chain of earlier exceptions.
    NotImplemented(const NotImplemented& other) = default;
    /// Deletes the items.
    ~NotImplemented() override;
};

/// Helpers of the throw procedure; not for direct use.
namespace Impl {
/// Adds "ThrowFile", "ThrowLine", "ThrowFunction" and "ExceptionClass" (readable name of
/// `dynamicClass`) to `exception`, in that order. A null `file` or `function` leaves its item out.
TS_API void addThrowSite(ExceptionDecoration& exception, const char* file, int line,
                         const char* function, const std::type_info& dynamicClass);
} // namespace Impl

/// The one throw procedure: default-constructs E (which adds its "UserMessage"), adds the site's
/// items in order, then the throw-site items, and throws through boost::enable_current_exception
/// so that boost::current_exception() yields a faithful copy.
template <class E, class... Items>
[[noreturn]] void throwException(const char* file, int line, const char* function,
                                 const Items&... items) {
    E exception;
    (static_cast<void>(static_cast<ExceptionDecoration&>(exception) << items), ...);
    Impl::addThrowSite(exception, file, line, function, typeid(exception));
    throw boost::enable_current_exception(exception);
}

} // namespace Tessel::Base

/// Throws `ExceptionClass` from this source line: TS_THROW(Class, "Qualified::function", items...).
/// The file is recorded relative to the repository root (the build maps the source prefix away).
#define TS_THROW(ExceptionClass, ...) \
    ::Tessel::Base::throwException<ExceptionClass>(__FILE__, __LINE__, __VA_ARGS__)

/// As TS_THROW, for throw sites in public headers, which name their header explicitly because
/// they are compiled in the host's build: TS_THROW_IN("path/of/header.h", Class, "function").
#define TS_THROW_IN(headerPath, ExceptionClass, ...) \
    ::Tessel::Base::throwException<ExceptionClass>(headerPath, __LINE__, __VA_ARGS__)

#endif
