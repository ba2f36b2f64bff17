// Conversions between Python objects and values: what a script writes becomes a value of the
// library's types, and what it reads comes back as a plain Python object (or a Dictionary view).

#include "tspybindings.h"

#include <dictionary/tsanyexception.h>
#include <dictionary/tsanytype.h>
#include <dictionary/tsanytyperegistry.h>
#include <dictionary/tstypelabels.h>
#include <foundation/tsexception.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace Tessel::Python {

using namespace Tessel::Dictionary;

namespace {

[[noreturn]] void throwTooDeep() {
    throw py::value_error("values nest more than " + std::to_string(kMaxNesting) +
                          " dictionaries and lists deep (or a value contains itself)");
}

std::string typeNameOf(py::handle object) {
    return py::str(py::type::handle_of(object).attr("__name__"));
}

PyValue fromInt(PyObject* object) {
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(object, &overflow);
    if (overflow == 0) {
        if (value == -1 && PyErr_Occurred() != nullptr) {
            throw py::error_already_set();
        }
        return value;
    }
    if (overflow > 0) {
        // Above the int64 range an int that fits 64 bits unsigned keeps its value as a uint64.
        const unsigned long long wide = PyLong_AsUnsignedLongLong(object);
        if (PyErr_Occurred() == nullptr) {
            return wide;
        }
        PyErr_Clear();
    }
    throw std::overflow_error("int does not fit a 64-bit signed or unsigned value");
}

// A snapshot of a sequence or of a mapping's items: converting an element may run code of the
// script, which must not be able to change what is being walked.
py::tuple snapshot(py::handle iterable) {
    auto items = py::reinterpret_steal<py::tuple>(PySequence_Tuple(iterable.ptr()));
    if (!items) {
        throw py::error_already_set();
    }
    return items;
}

Any vectorFrom(py::handle sequence, int budget) {
    const py::tuple items = snapshot(sequence);
    std::vector<Any> elements;
    elements.reserve(items.size());
    for (const py::handle item : items) {
        elements.push_back(toNewAny(fromPython(item, budget - 1)));
    }
    Any result{std::vector<Any>()};
    result.vec().swap(elements);
    return result;
}

Any dictionaryFrom(py::handle mapping, int budget) {
    const py::tuple items = snapshot(mapping.attr("items")());
    CppDictionary entries;
    for (const py::handle item : items) {
        const py::tuple pair = snapshot(item);
        if (pair.size() != 2) {
            throw py::value_error("a mapping's items must be (key, value) pairs");
        }
        if (!PyUnicode_Check(pair[0].ptr())) {
            throw py::type_error("Dictionary keys are str, not " + typeNameOf(pair[0]));
        }
        Any value = toNewAny(fromPython(pair[1], budget - 1));
        Any& slot = entries[CppDictionary::Key(textOf(pair[0]))];
        slot.clear(); // a key given twice keeps its last value, as in a dict
        slot = std::move(value);
    }
    Any result{CppDictionary()};
    result.dict().swap(entries);
    return result;
}

// A value bound to a variable that holds a copy of `value`. Assigning it converts by the same cast
// as assigning `value` itself, but finds the cast by the type's name instead of interning the
// name of T on every assignment. Used with the GIL held only.
template <class T>
const Any& boundScratch(const T& value) {
    static T variable{};
    static const Any bound{BindValue(variable)};
    variable = value;
    return bound;
}

bool isMapping(py::handle object) {
    // Kept for the life of the process: a static py::object would be released after the
    // interpreter is gone.
    static const py::handle mappingClass =
        py::object(py::module_::import("collections.abc").attr("Mapping")).release();
    return PyDict_Check(object.ptr()) || py::isinstance(object, mappingClass);
}

bool holds(const Any& value, const TypeAtom& label) {
    return value.type() != nullptr && value.type()->label() == label;
}

} // namespace

std::string textOf(py::handle text) {
    Py_ssize_t size = 0;
    if (const char* utf8 = PyUnicode_AsUTF8AndSize(text.ptr(), &size)) {
        return std::string(utf8, static_cast<std::size_t>(size));
    }
    // Lone surrogates: those that stand for undecodable bytes give the bytes back.
    PyErr_Clear();
    const auto bytes =
        py::reinterpret_steal<py::object>(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
    if (!bytes) {
        throw py::error_already_set();
    }
    return std::string(PyBytes_AS_STRING(bytes.ptr()), static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.ptr())));
}

py::str strOf(const std::string& text) {
    auto result = py::reinterpret_steal<py::str>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape"));
    if (!result) {
        throw py::error_already_set();
    }
    return result;
}

PyValue fromPython(py::handle object, int budget) {
    PyObject* raw = object.ptr();
    if (object.is_none()) {
        return std::monostate();
    }
    if (PyBool_Check(raw)) {
        return raw == Py_True;
    }
    if (PyLong_Check(raw)) {
        return fromInt(raw);
    }
    if (PyFloat_Check(raw)) {
        return PyFloat_AS_DOUBLE(raw);
    }
    if (PyUnicode_Check(raw)) {
        return textOf(object);
    }
    if (py::isinstance<TimeBase>(object)) {
        return object.cast<TimeBase>();
    }
    const bool isList = PyList_Check(raw) || PyTuple_Check(raw);
    const bool isView = !isList && py::isinstance<DictionaryView>(object);
    if (!isList && !isView && !isMapping(object)) {
        throw py::type_error("a Dictionary cannot hold a value of Python type " + typeNameOf(object));
    }
    if (budget <= 0) {
        throwTooDeep();
    }
    if (isList) {
        return vectorFrom(object, budget);
    }
    if (isView) {
        const Any& held = object.cast<const DictionaryView&>().resolveValue();
        if (nestsDeeperThan(held, budget)) {
            throwTooDeep();
        }
        return Any(held);
    }
    return dictionaryFrom(object, budget);
}

Any toNewAny(PyValue&& value) {
    return std::visit(
        [](auto&& held) -> Any {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>) {
                return Any();
            } else if constexpr (std::is_same_v<Held, Any>) {
                return std::move(held);
            } else {
                return Any(held);
            }
        },
        std::move(value));
}

void assignInto(Any& target, PyValue&& value, bool exact) {
    if (target.isEmpty()) {
        target = toNewAny(std::move(value));
        return;
    }
    // No cast turns a string into a char, so a script writes a char as a one-byte str, the form
    // in which it reads one.
    if (const auto* text = std::get_if<std::string>(&value); text != nullptr && text->size() == 1 &&
                                                            holds(target, gTypeLabelChar)) {
        target = (*text)[0];
        return;
    }
    if (exact) {
        target.assignExact(toNewAny(std::move(value)));
        return;
    }
    std::visit(
        [&target](auto&& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>) {
                target = Any(); // an empty value into a typed one: AnyNullException, as in C++
            } else if constexpr (std::is_same_v<Held, Any>) {
                target = held;
            } else if (target.type()->matchesType(typeid(Held))) {
                // Same host type: what the assignment would copy, without its lookup of the type.
                target.ref<Held>() = std::move(held);
            } else if constexpr (std::is_same_v<Held, std::string>) {
                target = held; // no cast leads from text to another type: this reports it
            } else {
                target = boundScratch(held);
            }
        },
        std::move(value));
}

PyValue readValue(const Any& value) {
    if (value.type() == nullptr) {
        return std::monostate();
    }
    const TypeAtom label = value.type()->label();
    if (label == gTypeLabelInt64) {
        return value.ref<long long>();
    }
    if (label == gTypeLabelDouble) {
        return value.ref<double>();
    }
    if (label == gTypeLabelString) {
        return value.ref<std::string>();
    }
    if (label == gTypeLabelInt32) {
        return static_cast<long long>(value.ref<int>());
    }
    if (label == gTypeLabelBool) {
        return value.ref<bool>();
    }
    if (label == gTypeLabelUnsignedInt64) {
        return value.ref<unsigned long long>();
    }
    if (label == gTypeLabelUnsignedInt32) {
        return static_cast<long long>(value.ref<unsigned int>());
    }
    if (label == gTypeLabelInt16) {
        return static_cast<long long>(value.ref<short>());
    }
    if (label == gTypeLabelUnsignedInt16) {
        return static_cast<long long>(value.ref<unsigned short>());
    }
    if (label == gTypeLabelInt8) {
        return static_cast<long long>(value.ref<signed char>());
    }
    if (label == gTypeLabelUnsignedInt8) {
        return static_cast<long long>(value.ref<unsigned char>());
    }
    if (label == gTypeLabelChar) {
        return value.ref<char>();
    }
    if (label == gTypeLabelFloat) {
        return static_cast<double>(value.ref<float>());
    }
    if (label == gTypeLabelTimeBase) {
        return value.ref<TimeBase>();
    }
    if (label == gTypeLabelDictionary || label == gTypeLabelVector) {
        return Any(value);
    }
    throw py::type_error("values of type '" + label.getString() + "' have no Python form");
}

PyValue takeValue(Any&& value) {
    if (holds(value, gTypeLabelDictionary) || holds(value, gTypeLabelVector)) {
        return std::move(value);
    }
    return readValue(value);
}

py::object toPython(PyValue&& value) {
    return std::visit(
        [](auto&& held) -> py::object {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>) {
                return py::none();
            } else if constexpr (std::is_same_v<Held, bool>) {
                return py::bool_(held);
            } else if constexpr (std::is_same_v<Held, char>) {
                return strOf(std::string(1, held));
            } else if constexpr (std::is_same_v<Held, std::string>) {
                return strOf(held);
            } else if constexpr (std::is_same_v<Held, Any>) {
                if (holds(held, gTypeLabelDictionary)) {
                    return py::cast(DictionaryView(std::move(held.dict())));
                }
                std::vector<Any>& elements = held.vec();
                py::list list(elements.size());
                for (std::size_t i = 0; i < elements.size(); ++i) {
                    list[i] = toPython(takeValue(std::move(elements[i])));
                }
                return std::move(list);
            } else {
                return py::cast(held);
            }
        },
        std::move(value));
}

bool nestsDeeperThan(const Any& value, int budget) {
    if (holds(value, gTypeLabelDictionary)) {
        if (budget <= 0) {
            return true;
        }
        for (const auto& entry : value.dict()) {
            if (nestsDeeperThan(entry.second, budget - 1)) {
                return true;
            }
        }
    } else if (holds(value, gTypeLabelVector)) {
        if (budget <= 0) {
            return true;
        }
        for (const Any& element : value.vec()) {
            if (nestsDeeperThan(element, budget - 1)) {
                return true;
            }
        }
    }
    return false;
}

const AnyType& typeByLabel(const std::string& label) {
    // Looking the label up interns nothing, so untrusted labels do not grow the name table.
    if (const auto atom = TypeAtom::find(label)) {
        if (const AnyType* type = AnyTypeRegistry::typeByLabel(*atom)) {
            return *type;
        }
    }
    const Base::ExceptionInfo<std::string> typeItem("Type", label);
    TS_THROW(AnyUnknownTypeException, "Tessel::Python::typeByLabel", typeItem);
}

} // namespace Tessel::Python
