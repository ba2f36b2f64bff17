// TimeBase for Python: a frame rate as an exact fraction, its queries, frame conversions and SMPTE
// timecode labels. Immutable on the Python side, since a TimeBase read from a Dictionary is a copy.

#include "tspybindings.h"

#include <foundation/tstimecode.h>

#include <pybind11/operators.h>

#include <string>

namespace Tessel::Python {

void bindTimeBase(py::module_& module) {
    py::class_<TimeBase> cls(module, "TimeBase", R"doc(
A frame rate held as an exact fraction numerator/denominator; denominator 0 marks an invalid rate.

    TimeBase(TimeBase.StandardRate.k29_97)   # 30000/1001
    TimeBase(30000, 1001), TimeBase(25.0), TimeBase("29.97"), TimeBase.from_rate(30, ntsc=True))doc");

    py::enum_<TimeBase::StandardRate>(cls, "StandardRate", "Codes of the standard film and video rates.")
        .value("k24", TimeBase::k24)
        .value("k25", TimeBase::k25)
        .value("k30", TimeBase::k30)
        .value("k50", TimeBase::k50)
        .value("k60", TimeBase::k60)
        .value("k23_976", TimeBase::k23_976)
        .value("k29_97", TimeBase::k29_97)
        .value("k59_94", TimeBase::k59_94);

    constructDefaultInNew(cls);
    const py::detail::is_new_style_constructor init;
    cls.def("__init__", [](py::detail::value_and_holder& self) { initialise(self, TimeBase()); }, init,
            "0/0, an invalid rate.");
    cls.def("__init__", [](py::detail::value_and_holder& self, TimeBase::StandardRate code) {
        initialise(self, TimeBase(code));
    }, init, py::arg("code"), "The fraction of a standard rate.");
    cls.def("__init__", [](py::detail::value_and_holder& self, unsigned long long numerator,
                           unsigned long long denominator) {
        TimeBase rate;
        rate.set(numerator, denominator);
        initialise(self, rate);
    }, init, py::arg("numerator"), py::arg("denominator"), "numerator/denominator as given.");
    cls.def("__init__", [](py::detail::value_and_holder& self, double rate) {
        initialise(self, TimeBase(static_cast<float>(rate)));
    }, init, py::arg("rate"),
       "The fraction chosen for a rate: 25.0 gives 25/1, 29.97 gives 30000/1001, 12.5 gives 1250/100.");
    cls.def("__init__", [](py::detail::value_and_holder& self, const std::string& text) {
        initialise(self, TimeBase(text));
    }, init, py::arg("text"), "Reads '29.97', '25' or '30000/1001'; text that is no number reads as 0.");
    cls.def_static("from_rate", [](unsigned long long rate, bool ntsc) { return TimeBase(rate, ntsc); },
                   py::arg("rate"), py::arg("ntsc") = false,
                   "rate/1, or rate*1000/1001 when ntsc (30 gives 30000/1001).");

    cls.def_readonly("numerator", &TimeBase::numerator);
    cls.def_readonly("denominator", &TimeBase::denominator);
    cls.def("rate", &TimeBase::rate, "The rate in single precision; 0.0 when invalid.");
    cls.def("rounded_rate", &TimeBase::roundedRate, "The rate rounded half away from zero; 0 when invalid.");
    cls.def("is_ntsc_rate", &TimeBase::isNtscRate, "True near 23.976, 29.97 and 59.94.");
    cls.def("is_drop_frame_rate", &TimeBase::isDropFrameRate, "True near 29.97 and 59.94.");
    cls.def("rate_text", &TimeBase::rateText, "'29.97', '25', '12.50' or 'Invalid'.");
    cls.def("fraction_text", &TimeBase::fractionText, "'30000/1001'.");
    cls.def("timecode_text", [](const TimeBase& self, long long frame, bool dropFrame) {
        return Base::timecodeText(frame, self, dropFrame);
    }, py::arg("frame"), py::arg("drop_frame") = false,
       "The SMPTE label of a frame count: 'HH:MM:SS:FF', or 'HH:MM:SS;FF' when drop_frame.");
    cls.def("timecode_frame", [](const TimeBase& self, const std::string& text) {
        return Base::timecodeFrame(text, self);
    }, py::arg("text"), "The frame count of an SMPTE label; TimecodeError for a label that is refused.");

    cls.def_static("convert_frame", &TimeBase::convertFrame, py::arg("frame"), py::arg("source"),
                   py::arg("target"), "A frame count at one rate as the nearest frame count at another.");
    cls.def_static("convert_position", &TimeBase::convertPosition, py::arg("position"), py::arg("source"),
                   py::arg("target"), "A position at one rate at another rate, unrounded.");
    cls.def_static("convert_frame_pulldown", &TimeBase::convertFramePulldown, py::arg("frame"),
                   py::arg("source"), py::arg("target"),
                   "As convert_frame, with the 2:3 cadence between 24 and 30 frames a second.");

    cls.def(py::self == py::self);
    cls.def(py::self != py::self);
    cls.def("__repr__", [](const TimeBase& self) {
        return "TimeBase(" + std::to_string(self.numerator) + ", " + std::to_string(self.denominator) + ")";
    });
}

} // namespace Tessel::Python
