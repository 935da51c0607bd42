#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <string>

/// What both modules need of the interpreter.
namespace python {

namespace py = pybind11;

/// Raises an exception of that type, which lives as long as its module.
[[noreturn]] inline void Raise(PyObject* type, const std::string& text) {
    // Names of files may be of any bytes.
    PyObject* words = PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace");
    if (words) PyErr_SetObject(type, words);
    Py_XDECREF(words);
    throw py::error_already_set();
}

/// The class of the package of that name.
inline py::object ErrorClass() { return py::module_::import("pansharp._errors").attr("Error"); }

/// Calls that have given up the interpreter's lock. Python ends a thread that wants it back while the process
/// ends, by unwinding it, and no exception may leave the engine: so the process waits for them.
class Calls {
public:
    /// One of them, from before the lock is given up until it is back.
    struct Running {
        Running() {
            const std::lock_guard lock(mutex);
            if (isEnding) Raise(ErrorClass().ptr(), "nothing is fused any more: the process ends");
            ++count;
        }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
        ~Running() {
            const std::lock_guard lock(mutex);
            --count;
            changed.notify_all();
        }
    };

    static bool IsEnding() { return isEnding; }
    /// Has the process wait for calls when it ends. To be asked once by each module.
    static void WaitAtEnd() { py::module_::import("atexit").attr("register")(py::cpp_function(&Calls::End)); }

private:
    static void End() {
        const py::gil_scoped_release released;
        std::unique_lock lock(mutex);
        isEnding = true;
        changed.wait(lock, [] { return count == 0; });
    }

    static inline std::mutex mutex;
    static inline std::condition_variable changed;
    static inline int count = 0;
    static inline std::atomic<bool> isEnding = false;
};

} // namespace python
