// JSON for Python: to_json() of a Dictionary or any value a Dictionary can hold, from_json() of a
// str or bytes-like document. Large documents are read and written with the GIL released.

#include "tspybindings.h"

#include <dictionary/tsjson.h>
#include <dictionary/tstypelabels.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Tessel::Python {

namespace {

namespace tsd = Tessel::Dictionary;

// Wider indentation is refused: a document indented by millions of spaces a level is no document.
constexpr unsigned kWidestIndent = 32;

tsd::JsonOptions optionsFor(bool plain, unsigned indent) {
    if (indent > kWidestIndent) {
        throw py::value_error("indent is at most " + std::to_string(kWidestIndent) + " spaces");
    }
    tsd::JsonOptions options;
    options.form = plain ? tsd::JsonForm::Plain : tsd::JsonForm::Typed;
    options.indent = indent;
    return options;
}

std::string toJson(py::handle value, bool plain, unsigned indent) {
    const tsd::JsonOptions options = optionsFor(plain, indent);
    std::string text;
    if (py::isinstance<DictionaryView>(value)) {
        const auto& view = value.cast<const DictionaryView&>();
        view.resolve(); // the view must still name a dictionary
        const Any& held = view.resolveValue();
        const ReleasedRead reading(view.root());
        text = tsd::toJson(held, options);
    } else {
        const Any held = toNewAny(fromPython(value, kMaxNesting));
        const py::gil_scoped_release released;
        text = tsd::toJson(held, options);
    }
    return text;
}

Any parse(std::string_view text) {
    if (text.size() >= kReleaseGilFrom) {
        const py::gil_scoped_release released;
        return tsd::fromJson(text);
    }
    return tsd::fromJson(text);
}

py::object fromJson(py::handle document) {
    Any value;
    if (PyUnicode_Check(document.ptr())) {
        Py_ssize_t size = 0;
        if (const char* utf8 = PyUnicode_AsUTF8AndSize(document.ptr(), &size)) {
            value = parse(std::string_view(utf8, static_cast<std::size_t>(size)));
        } else {
            // Lone surrogates: their bytes are no UTF-8, which the reader reports where they are.
            PyErr_Clear();
            value = parse(textOf(document));
        }
    } else if (PyObject_CheckBuffer(document.ptr())) {
        const BorrowedBuffer buffer(document);
        value = parse(std::string_view(static_cast<const char*>(buffer.data()), buffer.size()));
    } else {
        throw py::type_error("from_json() reads a str or bytes-like document");
    }
    return toPython(takeValue(std::move(value)));
}

} // namespace

void bindJson(py::module_& module) {
    module.def("to_json", &toJson, py::arg("value"), py::kw_only(), py::arg("plain") = false,
               py::arg("indent") = 0U,
               "The value as one JSON document. The typed form (the default) keeps every label, so "
               "from_json() gives back exactly what was written; plain=True writes natural JSON "
               "for other programs. JsonError for what JSON cannot hold.");
    module.def("from_json", &fromJson, py::arg("document"),
               "The value of a JSON document (str or bytes-like): a Dictionary for an object, a list "
               "for an array. Tagged values keep their labels, integers are int64, other numbers "
               "double. JsonError, with the line and column in e.items, for a bad document.");
}

} // namespace Tessel::Python
