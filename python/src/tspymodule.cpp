// The compiled part of the tsdictionary package.

#include "tspybindings.h"

PYBIND11_MODULE(_tsdictionary, module) {
    module.doc() = "Values and dictionaries that keep their types: int32 stays int32 when written back.";
    Tessel::Python::bindErrors(module);
    Tessel::Python::bindTimeBase(module);
    Tessel::Python::bindDictionary(module);
    Tessel::Python::bindSigning(module);
    Tessel::Python::bindJson(module);
    // Shown and pickled as members of the package, not of this compiled module.
    for (const char* name : {"Dictionary", "TimeBase"}) {
        module.attr(name).attr("__module__") = "tsdictionary";
    }
}
