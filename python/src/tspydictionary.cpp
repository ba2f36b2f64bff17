// The Python Dictionary: a MutableMapping of str to values over a view of a library dictionary.

#include "tspybindings.h"

#include <dictionary/tsanyexception.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>
#include <foundation/tsskeinhash.h>

#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace Tessel::Python {

using namespace Tessel::Dictionary;
using Key = DictionaryView::Key;

namespace {

// A key path as the library writes one: keys joined by "/", with "~" as "~0" and "/" as "~1".
std::string pathText(const std::vector<Key>& path, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        if (i != 0) {
            text += '/';
        }
        for (const char c : path[i].getString()) {
            text += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
        }
    }
    return text;
}

// The dictionary held by `value`, the path so far named in the exception when it holds none.
CppDictionary& dictionaryAt(Any& value, const std::vector<Key>& path, std::size_t count) {
    try {
        return value.dict();
    } catch (Base::ExceptionDecoration& e) {
        Impl::addKeyPath(e, pathText(path, count));
        throw;
    }
}

[[noreturn]] void raiseKeyError(py::handle key) {
    PyErr_SetObject(PyExc_KeyError, key.ptr());
    throw py::error_already_set();
}

bool holdsDictionary(const Any& value) {
    return value.type() != nullptr && value.type()->label() == gTypeLabelDictionary;
}

// The Python form of the entry `key` of the view's dictionary, which holds `value`.
py::object entryObject(const DictionaryView& view, const Key& key, const Any& value) {
    if (holdsDictionary(value)) {
        return py::cast(view.child(key));
    }
    return toPython(readValue(value));
}

// The entry `key` and its atom, or KeyError.
std::pair<Key, Any*> findEntry(CppDictionary& dictionary, py::handle key) {
    const std::optional<Key> atom = keyAtom(key, false);
    Any* value = atom ? dictionary.find(*atom) : nullptr;
    if (value == nullptr) {
        raiseKeyError(key);
    }
    return {*atom, value};
}

// Stores `value` as the whole entry `text`, whatever the entry held before.
void replaceEntry(const DictionaryView& view, Key key, Any&& value) {
    Any& slot = view.resolveForChange()[key];
    slot.clear();
    slot = std::move(value);
}

void checkKeyType(py::handle key) {
    if (!PyUnicode_Check(key.ptr())) {
        throw py::type_error("Dictionary keys are str, not " +
                             std::string(py::str(py::type::handle_of(key).attr("__name__"))));
    }
}

// The atom of a key being written, interned if new; TypeError for a key that is no str.
Key requireKey(py::handle key) {
    checkKeyType(key);
    return *keyAtom(key, true);
}

std::string hexOf(const Base::SkeinHash::Digest& digest) {
    std::ostringstream text;
    text << digest;
    return text.str();
}

py::object pop(const DictionaryView& self, py::handle key) {
    CppDictionary& dictionary = self.resolveForChange();
    const auto [atom, value] = findEntry(dictionary, key);
    Any taken(std::move(*value));
    dictionary.erase(atom);
    return toPython(takeValue(std::move(taken)));
}

py::object getItem(const DictionaryView& self, py::handle key) {
    const auto [atom, value] = findEntry(self.resolve(), key);
    return entryObject(self, atom, *value);
}

void setItem(const DictionaryView& self, py::handle key, py::handle value, bool exact = false) {
    checkKeyType(key);
    PyValue converted = fromPython(value, kMaxNesting - self.level());
    // Resolved only now: converting may have run code of the script that changed the tree.
    CppDictionary& dictionary = self.resolveForChange();
    const std::optional<Key> known = keyAtom(key, false);
    if (Any* entry = known ? dictionary.find(*known) : nullptr) {
        assignInto(*entry, std::move(converted), exact);
    } else {
        Any fresh = toNewAny(std::move(converted));
        dictionary[requireKey(key)] = std::move(fresh);
    }
}

void deleteItem(const DictionaryView& self, py::handle key) {
    CppDictionary& dictionary = self.resolveForChange();
    dictionary.erase(findEntry(dictionary, key).first);
}

bool contains(const DictionaryView& self, py::handle key) {
    const std::optional<Key> atom = keyAtom(key, false);
    return atom && self.resolve().hasEntry(*atom);
}

void setTyped(const DictionaryView& self, py::handle key, py::handle value, const std::string& label) {
    const Key atom = requireKey(key);
    const AnyType& type = typeByLabel(label);
    PyValue converted = fromPython(value, kMaxNesting - self.level());
    Any typed;
    if (auto* container = std::get_if<Any>(&converted); container != nullptr && container->type() == &type) {
        typed = std::move(*container);
    } else {
        if (label == "dictionary") {
            typed = Any(CppDictionary());
        } else if (label == "vector") {
            typed = Any(std::vector<Any>());
        } else {
            typed.parse(std::string(), type); // a value of `type`, which the conversion overwrites
        }
        assignInto(typed, std::move(converted));
    }
    replaceEntry(self, atom, std::move(typed));
}

DictionaryView construct(py::handle source) {
    if (source.is_none()) {
        return DictionaryView(CppDictionary());
    }
    if (PyList_Check(source.ptr()) || PyTuple_Check(source.ptr())) {
        throw py::type_error("Dictionary() takes a mapping");
    }
    Any content = toNewAny(fromPython(source, kMaxNesting));
    if (!holdsDictionary(content)) {
        throw py::type_error("Dictionary() takes a mapping");
    }
    return DictionaryView(std::move(content.dict()));
}

std::string repr(const DictionaryView& self) {
    py::dict entries;
    const CppDictionary& dictionary = self.resolve();
    std::vector<Key> keys;
    keys.reserve(dictionary.size());
    for (const auto& entry : dictionary) {
        keys.push_back(entry.first);
    }
    for (const Key& key : keys) {
        CppDictionary& current = self.resolve();
        if (const Any* value = current.find(key)) {
            entries[strOf(key.getString())] = entryObject(self, key, *value);
        }
    }
    return "Dictionary(" + std::string(py::repr(entries)) + ")";
}

} // namespace

// --- views ---------------------------------------------------------------------------------------

DictionaryView::DictionaryView(CppDictionary&& content) : mRoot(std::make_shared<Root>()) {
    mRoot->value = Any(CppDictionary());
    mRoot->value.dict().swap(content);
}

DictionaryView::DictionaryView(std::shared_ptr<Root> root, std::vector<Key> path)
    : mRoot(std::move(root)), mPath(std::move(path)) {}

Any& DictionaryView::resolveValue() const {
    if (!mRoot) {
        throw py::type_error("Dictionary.__init__() was not called");
    }
    Any* value = &mRoot->value;
    for (std::size_t i = 0; i < mPath.size(); ++i) {
        value = dictionaryAt(*value, mPath, i).find(mPath[i]);
        if (value == nullptr) {
            const Base::ExceptionInfo<std::string> keyPath("KeyPath", pathText(mPath, i + 1));
            const Base::ExceptionInfo<std::string> reason(
                "Reason", "the entry of this nested dictionary was removed from its parent");
            TS_THROW(AnyPathException, "Tessel::Python::DictionaryView::resolveValue", keyPath, reason);
        }
    }
    return *value;
}

CppDictionary& DictionaryView::resolve() const {
    return dictionaryAt(resolveValue(), mPath, mPath.size());
}

CppDictionary& DictionaryView::resolveForChange() const {
    if (mRoot->readers != 0) {
        throw std::runtime_error("the Dictionary cannot change while another thread reads it");
    }
    return resolve();
}

DictionaryView DictionaryView::child(Key key) const {
    std::vector<Key> path;
    path.reserve(mPath.size() + 1);
    path = mPath;
    path.push_back(key);
    return DictionaryView(mRoot, std::move(path));
}

ReleasedRead::ReleasedRead(std::shared_ptr<Root> root) : mRoot(std::move(root)) {
    ++mRoot->readers;
    mRelease.emplace();
}

ReleasedRead::~ReleasedRead() {
    mRelease.reset();
    --mRoot->readers;
}

// --- fast slots -----------------------------------------------------------------------------------
// d[key], d[key] = value, del d[key], key in d and len(d) call these directly: the general method
// dispatch would cost several times what a lookup does. The methods above stay for introspection
// and for subclasses, which reach them through the generic slots.

namespace {

// The view inside a Dictionary object (a default one when its __init__ never ran).
const DictionaryView& viewOf(PyObject* self) {
    auto* instance = reinterpret_cast<py::detail::instance*>(self);
    const void* value = instance->get_value_and_holder().value_ptr();
    if (value == nullptr) {
        throw py::type_error("Dictionary object without a value");
    }
    return *static_cast<const DictionaryView*>(value);
}

// Runs `work`; a C++ exception becomes the Python exception pybind11 would raise, and `failed`
// is returned.
template <class Work, class Result>
Result translated(Work&& work, Result failed) {
    try {
        return work();
    } catch (...) {
        if (!py::detail::apply_exception_translators(py::detail::get_local_internals().registered_exception_translators) &&
            !py::detail::apply_exception_translators(py::detail::get_internals().registered_exception_translators)) {
            PyErr_SetString(PyExc_SystemError, "an exception escaped every translator");
        }
        return failed;
    }
}

PyObject* getItemSlot(PyObject* self, PyObject* key) {
    return translated([&] { return getItem(viewOf(self), key).release().ptr(); }, static_cast<PyObject*>(nullptr));
}

int setItemSlot(PyObject* self, PyObject* key, PyObject* value) {
    return translated([&] {
        if (value == nullptr) {
            deleteItem(viewOf(self), key);
        } else {
            setItem(viewOf(self), key, value, false);
        }
        return 0;
    }, -1);
}

int containsSlot(PyObject* self, PyObject* key) {
    return translated([&] { return contains(viewOf(self), key) ? 1 : 0; }, -1);
}

Py_ssize_t lengthSlot(PyObject* self) {
    return translated([&] { return static_cast<Py_ssize_t>(viewOf(self).resolve().size()); },
                      static_cast<Py_ssize_t>(-1));
}

void installFastSlots(py::handle cls) {
    auto* type = reinterpret_cast<PyHeapTypeObject*>(cls.ptr());
    type->as_mapping.mp_subscript = &getItemSlot;
    type->as_mapping.mp_ass_subscript = &setItemSlot;
    type->as_mapping.mp_length = &lengthSlot;
    type->as_sequence.sq_length = &lengthSlot;
    type->as_sequence.sq_contains = &containsSlot;
    PyType_Modified(&type->ht_type);
}

} // namespace

// --- the Python class ----------------------------------------------------------------------------

void bindDictionary(py::module_& module) {
    py::class_<DictionaryView> cls(module, "Dictionary", R"doc(
A mutable mapping of str keys to values that keep their types.

Entries iterate in the dictionary's own order (that in which their key texts were first used in
the process). Writing into an existing entry keeps its type and converts the value, as in C++:
2048.7 written into an "int32" entry stores 2048. New entries take int64 from an int, double from
a float, string from a str, vector from a list, dictionary from a mapping. A nested Dictionary
names the entry at its key path in the same tree: changes through it change the parent, and it
raises PathError once that entry is gone.)doc");

    constructDefaultInNew(cls);
    cls.def("__init__", [](py::detail::value_and_holder& self, py::handle source) {
        initialise(self, construct(source));
    }, py::detail::is_new_style_constructor(), py::arg("source") = py::none(),
       "A new dictionary, empty or holding a copy of the entries of a mapping.");
    cls.def("__getitem__", &getItem);
    cls.def("__setitem__", [](const DictionaryView& self, py::handle key, py::handle value) {
        setItem(self, key, value);
    });
    cls.def("__delitem__", &deleteItem);
    cls.def("__contains__", &contains);
    cls.def("__len__", [](const DictionaryView& self) { return self.resolve().size(); });
    cls.def("__iter__", [](const DictionaryView& self) {
        // A snapshot of the keys, taken before any Python object is made: the loop, and any
        // collection of garbage while the list is built, may change the dictionary.
        std::vector<Key> atoms;
        for (const auto& entry : self.resolve()) {
            atoms.push_back(entry.first);
        }
        py::list keys(atoms.size());
        for (std::size_t i = 0; i < atoms.size(); ++i) {
            keys[i] = strOf(atoms[i].getString());
        }
        return py::iter(keys);
    });
    cls.def("__eq__", [](const DictionaryView& self, const DictionaryView& other) {
        return self.resolve() == other.resolve();
    });
    cls.def("__eq__", [](const DictionaryView&, py::handle) { return py::handle(Py_NotImplemented); });
    cls.def("__repr__", &repr);
    cls.def("copy", [](const DictionaryView& self) { return DictionaryView(CppDictionary(self.resolve())); },
            "A deep copy: a new dictionary sharing nothing with this one.");
    cls.def("__copy__", [](const DictionaryView& self) { return DictionaryView(CppDictionary(self.resolve())); });
    cls.def("__deepcopy__", [](const DictionaryView& self, py::handle) {
        return DictionaryView(CppDictionary(self.resolve()));
    });
    cls.def("clear", [](const DictionaryView& self) { self.resolveForChange().clear(); }, "Removes every entry.");
    cls.def("pop", &pop, py::arg("key"), "Removes the entry and returns its value (a dictionary as a copy).");
    cls.def("pop", [](const DictionaryView& self, py::handle key, py::object fallback) {
        try {
            return pop(self, key);
        } catch (const py::error_already_set& e) {
            if (e.matches(PyExc_KeyError)) {
                return fallback;
            }
            throw;
        }
    }, py::arg("key"), py::arg("default"));
    cls.def("popitem", [](const DictionaryView& self) {
        const CppDictionary& dictionary = self.resolveForChange();
        if (dictionary.empty()) {
            throw py::key_error("popitem(): Dictionary is empty");
        }
        const py::str key = strOf(dictionary.begin()->first.getString());
        py::object value = pop(self, key);
        return py::make_tuple(key, value);
    }, "Removes the first entry and returns it as (key, value).");
    cls.def("label", [](const DictionaryView& self, py::handle key) -> py::object {
        const Any* value = findEntry(self.resolve(), key).second;
        if (value->type() == nullptr) {
            return py::none();
        }
        return strOf(value->type()->label().getString());
    }, py::arg("key"), "The type label of the entry (\"int32\", \"string\", ...), or None when it is empty.");
    cls.def("assign_exact", [](const DictionaryView& self, py::handle key, py::handle value) {
        setItem(self, key, value, true);
    }, py::arg("key"), py::arg("value"),
       "As d[key] = value, but a conversion that would change the value (2048.7 into an int32, 300 "
       "into a uint8) raises InexactConversionError and changes nothing.");
    cls.def("set_typed", &setTyped, py::arg("key"), py::arg("value"), py::arg("label"),
            "Stores `value` as a new value of the type `label`, converted as an assignment converts.");
    cls.def("parse", [](const DictionaryView& self, py::handle key, py::handle text, const std::string& label) {
        const Key atom = requireKey(key);
        const AnyType& type = typeByLabel(label);
        Any parsed;
        if (!PyUnicode_Check(text.ptr())) {
            throw py::type_error("parse() reads a str");
        }
        parsed.parseExact(textOf(text), type);
        replaceEntry(self, atom, std::move(parsed));
    }, py::arg("key"), py::arg("text"), py::arg("label"),
       "Stores `text` read as exactly one value of the type `label`; ParseError for bad text.");
    cls.def("exact_text", [](const DictionaryView& self, py::handle key) {
        const Any* value = findEntry(self.resolve(), key).second;
        return strOf(value->exactText());
    }, py::arg("key"), "A text of the entry that parse() reads back to an equal value.");
    cls.def("at_path", [](const DictionaryView& self, const std::string& path) {
        return toPython(readValue(self.resolve().atPath(path)));
    }, py::arg("path"), "The value at a key path such as \"shots/0/camera\" (a dictionary as a copy).");
    cls.def("signature", [](const DictionaryView& self) {
        CppDictionary& dictionary = self.resolve();
        Base::SkeinHash::Digest digest;
        {
            const ReleasedRead reading(self.root());
            Base::SkeinHash::Engine engine;
            digest = dictionary.signature(engine).digest();
        }
        return hexOf(digest);
    }, "The Skein-256 signature of the entries in the dictionary's own order, as hex.");

    // The rest of the mapping interface comes from MutableMapping itself, on top of the above.
    const py::object abc = py::module_::import("collections.abc");
    const py::object mutableMapping = abc.attr("MutableMapping");
    for (const char* name : {"get", "setdefault", "update", "keys", "items", "values"}) {
        cls.attr(name) = mutableMapping.attr(name);
    }
    mutableMapping.attr("register")(cls);
    installFastSlots(cls);
}

} // namespace Tessel::Python
