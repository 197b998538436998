#include "pyTime.h"

#include "tuFcm.h"
#include "tuLabel.h"

#include <cmath>

namespace zrpy
{
namespace
{

using DM::FcmUtil;
using DM::FrameCodeModes;
using DM::TimeLabel;
using DM::TimeUnit;

/// "FCM_29_97_DF": the rate, and whether labels drop where they could.
std::string nameOfMode(FrameCodeModes mode)
{
    std::string name = std::string("FCM_") + FcmUtil::getFPSString(mode);
    for (char& c : name)
        if (c == '.')
            c = '_';
    if (FcmUtil::isDropFrame(mode))
        name += "_DF";
    else if (FcmUtil::toDrop(mode) != mode)
        name += "_NDF";
    return name;
}

[[noreturn]] void raiseMode(const std::string& given)
{
    std::string names;
    for (const FrameCodeModes mode : FcmUtil::getModes())
        names += (names.empty() ? "'" : ", '") + std::string(FcmUtil::getFCMString(mode)) + "'";
    raiseValue(given + " is no frame-code mode; there are " + names);
}

bool isMode(FrameCodeModes mode)
{
    for (const FrameCodeModes each : FcmUtil::getModes())
        if (each == mode)
            return true;
    return false;
}

double framesOfLabel(const std::string& label, FrameCodeModes mode)
{
    TimeUnit time;
    if (const TimeLabel::Status status = TimeLabel::read(label, mode, time); status != TimeLabel::Good)
        raiseValue("'" + label.substr(0, 40) + "' (" + FcmUtil::getFCMString(mode) + "): " + TimeLabel::reason(status));
    return time.getFrames();
}

double numberOf(py::handle value, const char* what)
{
    if (PyUnicode_Check(value.ptr()) || PyComplex_Check(value.ptr()) || !PyNumber_Check(value.ptr()))
        raiseType(std::string(what) + " is a number, not " + Py_TYPE(value.ptr())->tp_name);
    const double number = PyFloat_AsDouble(value.ptr());
    if (number == -1.0 && PyErr_Occurred())
        throw py::error_already_set();
    if (std::isnan(number))
        raiseValue(std::string(what) + " is a number, not NaN");
    return number;
}

/// Both in the mode of the first; times of other modes are converted, which keeps the wall-clock time.
double inModeOf(const Time& self, const Time& other)
{
    if (self.mode == other.mode)
        return other.time.getFrames();
    TimeUnit converted;
    other.time.getEquivTime(converted, other.mode, self.mode);
    return converted.getFrames();
}

std::string framesText(double frames)
{
    return py::repr(frames == std::floor(frames) && std::abs(frames) < 1e15
                        ? py::object(py::int_(static_cast<long long>(frames)))
                        : py::object(py::float_(frames)));
}

Time makeTime(const py::object& time, const py::object& mode)
{
    const FrameCodeModes fcm = toMode(mode);
    return {TimeUnit(toFrames(time, fcm)), fcm};
}

/// Arithmetic: with another time or a number of frames.
double otherFrames(const Time& self, py::handle other)
{
    return py::isinstance<Time>(other) ? inModeOf(self, py::cast<const Time&>(other)) : numberOf(other, "frames");
}

/// What a time is multiplied with, or divided by: times have no product.
double factorOf(const py::object& value)
{
    if (py::isinstance<Time>(value))
        raiseType("a factor is a number, not a Time");
    return numberOf(value, "a factor");
}

Time times(const Time& self, const py::object& factor)
{
    return {TimeUnit(self.time.getFrames() * factorOf(factor)), self.mode};
}

/// By a number, a time; by a time, how often it goes in.
py::object divided(const Time& self, const py::object& by)
{
    const bool isTime = py::isinstance<Time>(by);
    const double divisor = isTime ? otherFrames(self, by) : factorOf(by);
    if (divisor == 0.0)
    {
        PyErr_SetString(PyExc_ZeroDivisionError, "division of a time by zero");
        throw py::error_already_set();
    }
    const double quotient = self.time.getFrames() / divisor;
    return isTime ? py::object(py::float_(quotient)) : py::cast(Time{TimeUnit(quotient), self.mode});
}

py::object richCompare(const Time& self, const py::object& other, int operation)
{
    if (!py::isinstance<Time>(other))
        return py::reinterpret_borrow<py::object>(Py_NotImplemented);
    const auto& theirs = py::cast<const Time&>(other);
    const double a = self.time.getFrames();
    if (operation == Py_EQ || operation == Py_NE)
        return py::bool_((self.mode == theirs.mode && a == theirs.time.getFrames()) == (operation == Py_EQ));
    const double b = inModeOf(self, theirs);
    return py::bool_(operation == Py_LT ? a < b : operation == Py_LE ? a <= b : operation == Py_GT ? a > b : a >= b);
}

py::object fcmOf(FrameCodeModes mode)
{
    return py::module_::import("zrdmtree._zrdmtree").attr("Fcm")(static_cast<int>(mode));
}

// In bulk

/// Labels of a list of frames, or of an array of numbers.
py::list labels(const py::object& frames, const py::object& mode)
{
    const FrameCodeModes fcm = toMode(mode);
    py::list all;
    const auto add = [&](double each) { all.append(labelOf(each, fcm)); };
    if (PyObject_CheckBuffer(frames.ptr()))
    {
        const py::buffer_info info = py::reinterpret_borrow<py::buffer>(frames).request();
        if (info.ndim == 1 && info.format == py::format_descriptor<double>::format())
        {
            for (py::ssize_t i = 0; i < info.shape[0]; ++i)
                add(*reinterpret_cast<const double*>(static_cast<const char*>(info.ptr) + i * info.strides[0]));
            return all;
        }
    }
    for (const py::handle each : py::iter(frames))
        add(numberOf(each, "a count of frames"));
    return all;
}

py::list frames(const py::iterable& labels, const py::object& mode)
{
    const FrameCodeModes fcm = toMode(mode);
    if (PyUnicode_Check(labels.ptr()))
        raiseType("labels are a list of texts, not one");
    py::list all;
    for (const py::handle each : labels)
    {
        if (!PyUnicode_Check(each.ptr()))
            raiseType(std::string("a label is a text, not ") + Py_TYPE(each.ptr())->tp_name);
        all.append(toFrames(each, fcm));
    }
    return all;
}

} // namespace

FrameCodeModes toMode(py::handle mode)
{
    if (PyUnicode_Check(mode.ptr()))
    {
        const auto name = py::cast<std::string>(mode);
        const FrameCodeModes found = FcmUtil::getFCMFromName(name);
        if (found == DM::FCM_NOT_DEFINED)
            raiseMode("'" + name + "'");
        return found;
    }
    if (!PyLong_Check(mode.ptr()) || PyBool_Check(mode.ptr()))
        raiseType(std::string("a frame-code mode is a member of zrdmtree.Fcm or its name, not ") +
                  Py_TYPE(mode.ptr())->tp_name);
    int overflow = 0;
    const long number = PyLong_AsLongAndOverflow(mode.ptr(), &overflow);
    const auto fcm =
        overflow == 0 && number >= -128 && number <= 127 ? static_cast<FrameCodeModes>(number) : DM::FCM_NOT_DEFINED;
    if (!isMode(fcm))
        raiseMode(std::string(py::str(mode)).substr(0, 40));
    return fcm;
}

double toFrames(py::handle time, FrameCodeModes mode)
{
    if (PyUnicode_Check(time.ptr()))
        return framesOfLabel(py::cast<std::string>(time), mode);
    if (py::isinstance<Time>(time))
    {
        if (mode == DM::FCM_NOT_DEFINED)
            raiseValue("there is no frame-code mode to bring the time to");
        return inModeOf({TimeUnit(), mode}, py::cast<const Time&>(time));
    }
    return numberOf(time, "a time");
}

std::string labelOf(double frames, FrameCodeModes mode)
{
    return TimeLabel::text(TimeUnit(frames), mode);
}

void addTimes(py::module_& module)
{
    py::dict modes;
    for (const FrameCodeModes mode : FcmUtil::getModes())
        modes[nameOfMode(mode).c_str()] = static_cast<int>(mode);
    module.attr("Fcm") = py::module_::import("enum").attr("IntEnum")("Fcm", modes, py::arg("module") = "zrdmtree");
    module.attr("Fcm").attr("__doc__") = "The frame-code modes: rates, and how their labels are written.";

    py::class_<Time>(
        module, "Time",
        "A time in frames of a frame-code mode: Time(86400, '24 fps'), Time('01:00:00:00', '25 fps').\n\n"
        "Plain numbers are frames of the time's own mode; times of other modes are converted, which keeps\n"
        "the wall-clock time. Equal are times of the same frames and mode.")
        .def(py::init(&makeTime), py::arg("time"), py::arg("mode"))
        .def_property_readonly("frames", [](const Time& self) { return self.time.getFrames(); })
        .def_property_readonly("mode", [](const Time& self) { return fcmOf(self.mode); })
        .def_property_readonly("label", [](const Time& self) { return labelOf(self.time.getFrames(), self.mode); })
        .def_property_readonly("seconds", [](const Time& self)
                               { return self.time.getFrames() / FcmUtil::getDoubleFPS(self.mode); })
        .def(
            "to",
            [](const Time& self, const py::object& mode)
            {
                const FrameCodeModes fcm = toMode(mode);
                return Time{TimeUnit(inModeOf({TimeUnit(), fcm}, self)), fcm};
            },
            py::arg("mode"), "The same wall-clock time in another mode.")
        .def("__str__", [](const Time& self) { return labelOf(self.time.getFrames(), self.mode); })
        .def("__repr__", [](const Time& self)
             { return "Time(" + framesText(self.time.getFrames()) + ", '" + FcmUtil::getFCMString(self.mode) + "')"; })
        .def("__float__", [](const Time& self) { return self.time.getFrames(); })
        .def("__int__", [](const Time& self) { return self.time.getFrameCount(); })
        .def("__bool__", [](const Time& self) { return self.time.getFrames() != 0.0; })
        .def("__hash__", [](const Time& self)
             { return py::hash(py::make_tuple(self.time.getFrames(), static_cast<int>(self.mode))); })
        .def("__eq__", [](const Time& a, const py::object& b) { return richCompare(a, b, Py_EQ); })
        .def("__ne__", [](const Time& a, const py::object& b) { return richCompare(a, b, Py_NE); })
        .def("__lt__", [](const Time& a, const py::object& b) { return richCompare(a, b, Py_LT); })
        .def("__le__", [](const Time& a, const py::object& b) { return richCompare(a, b, Py_LE); })
        .def("__gt__", [](const Time& a, const py::object& b) { return richCompare(a, b, Py_GT); })
        .def("__ge__", [](const Time& a, const py::object& b) { return richCompare(a, b, Py_GE); })
        .def("__add__",
             [](const Time& self, const py::object& other) {
                 return Time{TimeUnit(self.time.getFrames() + otherFrames(self, other)), self.mode};
             })
        .def("__radd__",
             [](const Time& self, const py::object& other) {
                 return Time{TimeUnit(self.time.getFrames() + otherFrames(self, other)), self.mode};
             })
        .def("__sub__",
             [](const Time& self, const py::object& other) {
                 return Time{TimeUnit(self.time.getFrames() - otherFrames(self, other)), self.mode};
             })
        .def("__rsub__",
             [](const Time& self, const py::object& other) {
                 return Time{TimeUnit(otherFrames(self, other) - self.time.getFrames()), self.mode};
             })
        .def("__mul__", &times)
        .def("__rmul__", &times)
        .def("__truediv__", &divided)
        .def("__round__",
             [](const Time& self) {
                 return Time{TimeUnit(std::nearbyint(self.time.getFrames())), self.mode};
             })
        .def("__format__", [](const Time& self, const py::str& how)
             { return py::str(labelOf(self.time.getFrames(), self.mode)).attr("__format__")(how); })
        .def("__pos__", [](const Time& self) { return self; })
        .def("__neg__",
             [](const Time& self) {
                 return Time{TimeUnit(-self.time.getFrames()), self.mode};
             })
        .def("__abs__",
             [](const Time& self) {
                 return Time{TimeUnit(std::abs(self.time.getFrames())), self.mode};
             })
        .def(py::pickle([](const Time& self)
                        { return py::make_tuple(self.time.getFrames(), static_cast<int>(self.mode)); },
                        [](const py::tuple& state) { return makeTime(state[0], state[1]); }));
    module.def("labels", &labels, py::arg("frames"), py::arg("mode"),
               "The labels of many counts of frames: a list, or an array of numbers.");
    module.def("frames", &frames, py::arg("labels"), py::arg("mode"), "The counts of frames of many labels.");
    module.attr("NO_TIME") = TimeUnit::getNotATime().getFrames();
}

} // namespace zrpy
