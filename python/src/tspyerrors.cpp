// The library's exceptions as Python exceptions: one class per library class under
// tsdictionary.Error, str(e) the filled user message, e.report the full report, e.items the items.

#include "tspybindings.h"

#include <dictionary/tsanyexception.h>
#include <dictionary/tsjson.h>
#include <foundation/tsexception.h>
#include <foundation/tstimecode.h>

#include <sstream>
#include <type_traits>
#include <vector>

namespace Tessel::Python {

using namespace Tessel::Dictionary;

namespace {

/// One Python class: its name, its documentation, the index of its Python base in the table
/// (-1 for Error's own base), and whether a library exception belongs to it.
struct ErrorClass {
    const char* name;
    const char* doc;
    int base;
    bool (*matches)(const Base::Exception&);
    PyObject* type = nullptr;
};

template <class E>
bool is(const Base::Exception& e) {
    if constexpr (std::is_same_v<E, Base::Exception>) {
        static_cast<void>(e);
        return true;
    } else {
        return dynamic_cast<const E*>(&e) != nullptr;
    }
}

// Subclasses come after their bases, and translation looks from the end: the most derived
// matching class wins.
std::vector<ErrorClass>& errorClasses() {
    static std::vector<ErrorClass> classes{
        {"Error", "Base of the errors of tsdictionary.", -1, &is<Base::Exception>},
        {"AnyError", "An error of values and dictionaries.", 0, &is<AnyException>},
        {"NullError", "An empty value was used where a value is needed.", 1, &is<AnyNullException>},
        {"DereferenceError", "A value was used as a type it is not (e.g. an int32 as a dictionary).", 1,
         &is<AnyDereferenceException>},
        {"UnknownTypeError", "No value type is registered under this name or label.", 1,
         &is<AnyUnknownTypeException>},
        {"CastError", "No conversion exists between the value's type and the type wanted.", 1,
         &is<AnyCastException>},
        {"PathError", "A key path names no value.", 1, &is<AnyPathException>},
        {"ParseError", "A text is not exactly one value of a type.", 1, &is<AnyParseException>},
        {"JsonError", "A JSON document cannot be read, or a value cannot be written as JSON.", 1,
         &is<JsonException>},
        {"InexactConversionError", "An exact assignment would have changed the value.", 1,
         &is<AnyInexactConversionException>},
        {"TimecodeError", "A frame count or timecode label was refused.", 0, &is<Base::TimecodeException>},
        {"UnimplementedError", "The operation does not exist for this value (e.g. the text of a dictionary).",
         0, &is<Base::NotImplemented>},
    };
    return classes;
}

py::dict itemsOf(const Base::ExceptionDecoration& e) {
    py::dict items;
    for (const auto& [key, item] : e.items()) {
        if (const int* number = e.getValue<int>(key)) {
            items[strOf(key)] = *number;
        } else {
            std::ostringstream text;
            item->writeValue(text);
            items[strOf(key)] = strOf(text.str());
        }
    }
    return items;
}

void raise(const Base::Exception& e) {
    const std::vector<ErrorClass>& classes = errorClasses();
    for (auto it = classes.rbegin(); it != classes.rend(); ++it) {
        if (it->matches(e)) {
            const py::handle type(it->type);
            py::object error = type(strOf(e.userMessage()));
            error.attr("report") = strOf(e.report());
            error.attr("items") = itemsOf(e);
            PyErr_SetObject(it->type, error.ptr());
            return;
        }
    }
}

} // namespace

void bindErrors(py::module_& module) {
    std::vector<ErrorClass>& classes = errorClasses();
    for (ErrorClass& entry : classes) {
        py::tuple bases = entry.base < 0 ? py::make_tuple(py::handle(PyExc_Exception))
                                         : py::make_tuple(py::handle(classes[static_cast<std::size_t>(entry.base)].type));
        if (std::string(entry.name) == "UnimplementedError") {
            bases = py::make_tuple(bases[0], py::handle(PyExc_NotImplementedError));
        }
        const std::string qualified = std::string("tsdictionary.") + entry.name;
        entry.type = PyErr_NewExceptionWithDoc(qualified.c_str(), entry.doc, bases.ptr(), nullptr);
        if (entry.type == nullptr) {
            throw py::error_already_set();
        }
        // The class lives as long as the process: translation may run after the module is gone.
        module.attr(entry.name) = py::handle(entry.type);
    }
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) {
                std::rethrow_exception(thrown);
            }
        } catch (const Base::Exception& e) {
            raise(e);
        }
    });
}

} // namespace Tessel::Python
