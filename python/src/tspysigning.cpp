// Signatures for Python: Skein-256 of bytes-like data, as hex text.

#include "tspybindings.h"

#include <dictionary/tscanonicalsignature.h>
#include <foundation/tsskeinhash.h>

#include <cstddef>
#include <sstream>
#include <string>

namespace Tessel::Python {

namespace {

std::string hexOf(const Base::SkeinHash::Digest& digest) {
    std::ostringstream text;
    text << digest;
    return text.str();
}

// The canonical signature of a Dictionary (read in place) or of any value a Dictionary can hold.
std::string canonicalSignature(py::handle value) {
    Base::SkeinHash::Digest digest;
    if (py::isinstance<DictionaryView>(value)) {
        const auto& view = value.cast<const DictionaryView&>();
        const Any& held = view.resolveValue();
        view.resolve(); // the entry must still hold a dictionary
        const ReleasedRead reading(view.root());
        digest = Dictionary::canonicalSignature(held);
    } else {
        const Any held = toNewAny(fromPython(value, kMaxNesting));
        const py::gil_scoped_release released;
        digest = Dictionary::canonicalSignature(held);
    }
    return hexOf(digest);
}

std::string sign(py::handle data) {
    const BorrowedBuffer buffer(data);
    Base::SkeinHash::Engine engine;
    if (buffer.size() >= kReleaseGilFrom) {
        const py::gil_scoped_release released;
        engine.update(buffer.data(), buffer.size());
    } else {
        engine.update(buffer.data(), buffer.size());
    }
    return hexOf(engine.digest());
}

} // namespace

void bindSigning(py::module_& module) {
    module.def("sign", &sign, py::arg("data"),
               "The Skein-256 digest of bytes-like data as 64 hex digits; the GIL is released for large data.");
    module.def("canonical_signature", &canonicalSignature, py::arg("value"),
               "The canonical signature of a value as 64 hex digits: the same labels and content give the "
               "same digest in every process, whatever order keys were first used in.");
}

} // namespace Tessel::Python
