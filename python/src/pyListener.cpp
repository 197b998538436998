#include "pyListener.h"

#include "pySet.h"
#include "pyValue.h"

#include <memory>

namespace zrpy
{
namespace
{

/// A registration, for as long as it lives. The library calls it with no mutex held, so that it may wait for the
/// interpreter.
class Subscription final : public DmPropertyListener
{
public:
    Subscription(const Reached& subject, py::object callable)
        : _set(&subject.write())
        , _subject(subject.draft() ? subject.object() : py::object())
        , _callable(std::move(callable))
    {
        if (const eDmErrorId status = _set->registerListener(this); status != DM_NO_ERROR)
            raiseStatus(status, "listen()");
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() override { close(); }

    void close()
    {
        if (!_set)
            return;
        static_cast<void>(_set->unregisterListener(this)); // registered, as `_set` says
        _set.reset();
        _subject = py::object();
        _callable = py::none();
    }
    bool isOpen() const { return static_cast<bool>(_set); }

    void onPropertyChanged(const DmNodeId& /*id*/, eDmPropType /*type*/, const DmString& propertyName) override
    {
        const py::gil_scoped_acquire interpreter;
        // What a listener raises has no caller to go to; an error that is on its way stays on its way.
        const py::error_scope kept;
        const py::object callable = _callable;
        try
        {
            if (_set)
                callable(_subject ? _subject : wrap(_set), fromText(propertyName));
        }
        catch (py::error_already_set& error)
        {
            error.restore();
            PyErr_WriteUnraisable(callable.ptr());
        }
    }

private:
    DmPropertySetPtr _set; ///< null when closed
    py::object _subject;   ///< of a session; else the set's own object
    py::object _callable;
};

} // namespace

py::object subscribe(const Reached& subject, py::handle callable)
{
    if (!PyCallable_Check(callable.ptr()))
        raiseType("listen() takes a callable");
    return py::cast(std::make_unique<Subscription>(subject, py::reinterpret_borrow<py::object>(callable)));
}

void addListeners(py::module_& module)
{
    py::class_<Subscription>(module, "Subscription", "A listener's registration: ends when closed or dropped.")
        .def("close", &Subscription::close)
        .def_property_readonly("is_open", &Subscription::isOpen)
        .def("__enter__", [](const py::object& self) { return self; })
        .def("__exit__", [](Subscription& self, const py::args& /*error*/) { self.close(); });
}

} // namespace zrpy
