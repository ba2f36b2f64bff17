#ifndef TESSEL_PYTHON_TSPYBINDINGS_H
#define TESSEL_PYTHON_TSPYBINDINGS_H

// Internal to the Python module: what its source files share. Each source binds one area; this
// header declares the views of dictionaries and the conversions between Python objects and values.

#include <dictionary/tsany.h>
#include <dictionary/tsdictionary.h>
#include <foundation/tstimebase.h>

#include <pybind11/pybind11.h>

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace Tessel::Python {

namespace py = pybind11;
using Tessel::Base::TimeBase;
using Tessel::Dictionary::Any;
/// The library's dictionary, as distinct from the Python class of the same name.
using CppDictionary = Tessel::Dictionary::Dictionary;

/// Deepest nesting of dictionaries and vectors, the root dictionary included, that a script can
/// build. Values deeper than this are refused with ValueError, so that neither the conversions
/// here nor the library's recursive copies, comparisons and destructors can exhaust the stack.
inline constexpr int kMaxNesting = 1000;

/// A tree of values owned by Python objects: the root of every Dictionary a script holds.
struct Root {
    /// Holds the root dictionary.
    Any value;
    /// Calls that read the tree with the GIL released. While it is not 0, changes are refused,
    /// because another thread may be reading.
    int readers = 0;
};

/// The Python Dictionary: a root, and the key path from it to the dictionary this object names.
///
/// A nested dictionary is not referred to by address: every use resolves the path again, so a
/// script that removes or retypes the parent's entry gets an exception instead of a dangling
/// reference, and the root lives as long as any view of it.
class DictionaryView {
public:
    using Key = CppDictionary::Key;

    /// No dictionary: what an object whose __init__ never ran holds. Every use raises TypeError.
    DictionaryView() = default;
    /// A new root owning `content`.
    explicit DictionaryView(CppDictionary&& content);
    /// The dictionary at `path` below `root`.
    DictionaryView(std::shared_ptr<Root> root, std::vector<Key> path);

    /// The value holding the named dictionary. Throws AnyPathException when an entry on the path
    /// is gone, AnyDereferenceException when it no longer holds a dictionary, and TypeError for a
    /// default view.
    Any& resolveValue() const;
    /// The named dictionary, for reading. Throws as resolveValue() does, the "KeyPath" item naming
    /// the path to this dictionary.
    CppDictionary& resolve() const;
    /// The named dictionary, for changing it: refused with RuntimeError while another thread
    /// reads the tree.
    CppDictionary& resolveForChange() const;

    /// The view of the entry `key` of this dictionary (which must hold a dictionary).
    DictionaryView child(Key key) const;
    /// Nesting level of this dictionary: 1 for a root.
    int level() const { return static_cast<int>(mPath.size()) + 1; }
    /// The tree this view belongs to.
    const std::shared_ptr<Root>& root() const { return mRoot; }

private:
    std::shared_ptr<Root> mRoot;
    std::vector<Key> mPath;
};

/// Marks a tree as read without the GIL for the lifetime of the guard; the GIL is released
/// between construction and destruction.
class ReleasedRead {
public:
    explicit ReleasedRead(std::shared_ptr<Root> root);
    ~ReleasedRead();
    ReleasedRead(const ReleasedRead&) = delete;
    ReleasedRead& operator=(const ReleasedRead&) = delete;

private:
    std::shared_ptr<Root> mRoot;
    std::optional<py::gil_scoped_release> mRelease;
};

/// Inputs at least this long are read with the GIL released; below it releasing costs more than
/// it frees.
inline constexpr std::size_t kReleaseGilFrom = 64 * 1024;

/// A contiguous buffer borrowed from a bytes-like object for the lifetime of this object, which
/// also keeps a bytearray from being resized meanwhile.
class BorrowedBuffer {
public:
    /// Borrows the buffer of `object`; BufferError or TypeError when it has no contiguous one.
    explicit BorrowedBuffer(py::handle object) {
        if (PyObject_GetBuffer(object.ptr(), &mView, PyBUF_SIMPLE) != 0) {
            throw py::error_already_set();
        }
    }
    ~BorrowedBuffer() { PyBuffer_Release(&mView); }
    BorrowedBuffer(const BorrowedBuffer&) = delete;
    BorrowedBuffer& operator=(const BorrowedBuffer&) = delete;

    /// The first byte.
    const void* data() const { return mView.buf; }
    /// The number of bytes.
    std::size_t size() const { return static_cast<std::size_t>(mView.len); }

private:
    Py_buffer mView{};
};

/// A value in C++ form on its way between Python and the library: nothing (None), a scalar,
/// text, a time base, or a dictionary or vector already built as an Any.
using PyValue = std::variant<std::monostate, bool, char, long long, unsigned long long, double, std::string,
                             TimeBase, Any>;

/// The C++ form of `object`: None, bool, int (int64, or uint64 above its range), float, str,
/// TimeBase, list or tuple (a vector), dict or other Mapping with str keys, Dictionary (copied).
/// Containers may nest `budget` levels deep. Throws TypeError, OverflowError or ValueError.
PyValue fromPython(py::handle object, int budget);
/// A value made by the rules for new entries: int64 from an int, double from a float...
Any toNewAny(PyValue&& value);
/// Writes `value` into `target` by the library's assignment rule: an empty target takes the
/// value, a typed one keeps its type and converts. A one-byte str writes a "char" target. When
/// `exact`, a conversion that would change the value throws AnyInexactConversionException.
void assignInto(Any& target, PyValue&& value, bool exact = false);
/// The C++ form of `value`, copied out so that no reference into the tree is kept.
PyValue readValue(const Any& value);
/// The C++ form of `value`, taking its containers over without a copy.
PyValue takeValue(Any&& value);
/// The Python object for `value`; dictionaries become new roots, vectors lists.
py::object toPython(PyValue&& value);
/// True when `value` nests dictionaries and vectors more than `budget` levels deep.
bool nestsDeeperThan(const Any& value, int budget);
/// UTF-8 text of a str; lone surrogates from undecodable bytes give those bytes back.
std::string textOf(py::handle text);
/// A str for library text; bytes that are not UTF-8 become lone surrogates (reversible).
py::str strOf(const std::string& text);
/// The atom of the str `key`, looked up in a cache. Nothing for a key that is no str, and, unless
/// `intern`, for one whose text no dictionary key ever had. Interning a str that has no UTF-8 form
/// throws UnicodeEncodeError.
std::optional<DictionaryView::Key> keyAtom(py::handle key, bool intern);
/// The registered type whose label is `label`; throws AnyUnknownTypeException when there is none.
const Tessel::Dictionary::AnyType& typeByLabel(const std::string& label);

// --- objects whose __init__ never ran ---------------------------------------------------------------
// pybind11 leaves the C++ value of a bare `Class.__new__(Class)` unallocated and later hands
// methods fresh, unconstructed memory for it. The classes here construct a default value in
// __new__ instead, and their __init__ overloads assign into it.

/// `Class.__new__` for T: a pybind11 instance holding a default-constructed T.
template <class T>
PyObject* newWithDefaultValue(PyTypeObject* type, PyObject* args, PyObject* kwargs) {
    PyObject* self = py::detail::pybind11_object_new(type, args, kwargs);
    if (self == nullptr) {
        return nullptr;
    }
    try {
        reinterpret_cast<py::detail::instance*>(self)->get_value_and_holder().value_ptr() = new T();
    } catch (const std::bad_alloc&) {
        Py_DECREF(self);
        return PyErr_NoMemory();
    }
    return self;
}

/// Makes `cls.__new__` construct a default T (which must free nothing when deleted unconstructed:
/// an object whose __init__ never ran is freed without its destructor).
template <class T>
void constructDefaultInNew(py::class_<T>& cls) {
    reinterpret_cast<PyTypeObject*>(cls.ptr())->tp_new = &newWithDefaultValue<T>;
}

/// The body of an __init__ overload (bound with py::detail::is_new_style_constructor()): assigns
/// `value` to the default value that __new__ made, or, for a Python subclass, whose __new__ is
/// pybind11's own, makes the value.
template <class T>
void initialise(py::detail::value_and_holder& self, T&& value) {
    using Value = std::decay_t<T>;
    if (self.value_ptr() == nullptr) {
        self.value_ptr() = new Value(std::forward<T>(value));
    } else {
        *self.value_ptr<Value>() = std::forward<T>(value);
    }
}

/// Binding of the exception classes and their translation.
void bindErrors(py::module_& module);
/// Binding of TimeBase and its timecode labels.
void bindTimeBase(py::module_& module);
/// Binding of Dictionary.
void bindDictionary(py::module_& module);
/// Binding of sign() and the signatures.
void bindSigning(py::module_& module);
/// Binding of to_json() and from_json().
void bindJson(py::module_& module);

} // namespace Tessel::Python

#endif
