// Base of all wrapper types: registration of names, documentation and methods.
#pragma once

#include "module/binding/constants.h"
#include "module/binding/guard.h"
#include "module/binding/pycxx.h"

#include <string_view>

namespace binding
{

/// A Python type implemented by the C++ class Self. Objects are made by C++ only: calling the type
/// from Python, or deriving from it, raises TypeError. Methods are member functions
/// `Py::Object name()` and `Py::Object name(const Py::Tuple&)`; they run with the interpreter lock
/// held and may throw anything.
template <class Self> class Wrapper : public Py::PythonExtension<Self>
{
public:
    /// Constants of the class. One that has some hides this with its own.
    static ConstantList constants() { return {}; }

    /// Makes the type known to the interpreter under the name that it has by then.
    static void makeReady()
    {
        // Before the type is made ready, or it would inherit an attribute lookup that goes first.
        Wrapper::behaviors().supportGetattr();
        static PyMethodDef typeMethods[] = {{"__dir__", &Wrapper::listNames, METH_NOARGS, nullptr},
                                            {}};
        Wrapper::behaviors().set_methods(typeMethods);
        if (!Wrapper::behaviors().readyType()) {
            throw Py::Exception();
        }
    }

    /// What a name means: a constant of the class goes first. The object layer's own look-up makes
    /// texts, and would let go what they throw without memory.
    Py::Object getattr(const char* name) final
    {
        return guarded([this, name] {
            const Constant* constant = findConstant(Self::constants(), name);
            return constant != nullptr ? Py::Long(constant->value)
                                       : static_cast<Self*>(this)->attribute(name);
        });
    }

    /// What a name means that is no constant. One that also knows `__name__` and `__doc__` of its
    /// class hides this with its own.
    Py::Object attribute(const char* name) { return getattr_methods(name); }

    /// What a name means that is no constant: the method of that name, and for `__names__` that no
    /// method has what every object has, such as `__class__`; AttributeError for all others.
    Py::Object getattr_methods(const char* name) override
    {
        try {
            return Py::PythonExtension<Self>::getattr_methods(name);
        } catch (Py::AttributeError& error) {
            if (!isSpecial(name)) {
                throw;
            }
            error.clear();
        }
        PyObject* found = PyObject_GenericGetAttr(this, Py::String(name).ptr());
        if (found == nullptr) {
            throw Py::Exception();
        }
        return Py::asObject(found);
    }

protected:
    /// Names the type; the documentation may be null.
    static void describe(const char* name, const char* documentation = nullptr)
    {
        Wrapper::behaviors().name(name);
        if (documentation != nullptr) {
            Wrapper::behaviors().doc(documentation);
        }
        makeReady();
    }

    /// Registers a method without arguments.
    template <auto Method> static void noargs(const char* name)
    {
        Wrapper::add_noargs_method(name, &Wrapper::template callNoArgs<Method>);
    }

    /// Registers a method that takes the tuple of its positional arguments.
    template <auto Method> static void varargs(const char* name)
    {
        Wrapper::add_varargs_method(name, &Wrapper::template callVarArgs<Method>);
    }

private:
    /// True for `__names__`, which belong to the interpreter.
    static bool isSpecial(const char* name)
    {
        const std::string_view text(name);
        return text.size() > 4 && text.substr(0, 2) == "__" && text.substr(text.size() - 2) == "__";
    }

    /// dir(): the interpreter sees no names by itself, for they are looked up by getattr.
    static PyObject* listNames(PyObject* self, PyObject* /*none*/)
    {
        try {
            return Py::new_reference_to(guarded([self] {
                Py::List names(static_cast<Self*>(self)->getattr_methods("__methods__"));
                for (const Constant& constant : Self::constants()) {
                    names.append(Py::String(constant.name));
                }
                return Py::Object(names);
            }));
        } catch (const Py::BaseException&) {
            return nullptr;
        }
    }

    template <auto Method> Py::Object callNoArgs()
    {
        return guarded([this] { return (static_cast<Self*>(this)->*Method)(); });
    }

    template <auto Method> Py::Object callVarArgs(const Py::Tuple& args)
    {
        return guarded([this, &args] { return (static_cast<Self*>(this)->*Method)(args); });
    }
};

} // namespace binding
