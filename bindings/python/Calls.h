#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
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

/// Of the calls of a process.
struct CallState {
    std::mutex mutex; ///< guards what follows
    std::condition_variable changed;
    int count = 0;
    std::atomic<bool> isEnding = false;
};

/// Calls that have given up the interpreter's lock. Python ends a thread that wants it back while the process
/// ends, by unwinding it, and no exception may leave the engine: so the process waits for them.
class Calls {
public:
    /// One of them, from before the lock is given up until it is back.
    struct Running {
        Running() {
            // What raises may wait for the interpreter's lock, so not under the mutex.
            if (!Begin()) Raise(ErrorClass().ptr(), "nothing is fused any more: the process ends");
        }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
        ~Running() {
            if (forks != forksBefore) return; // it counts in the parent
            const std::lock_guard lock(state.mutex);
            --state.count;
            state.changed.notify_all();
        }

    private:
        static bool Begin() {
            const std::lock_guard lock(state.mutex);
            if (!state.isEnding) ++state.count;
            return !state.isEnding;
        }

        const unsigned forksBefore = forks;
    };

    static bool IsEnding() { return state.isEnding; }
    /// How often the process was forked before it came to be.
    static unsigned Forks() { return forks; }
    /// Has the process wait for calls when it ends. To be asked once by each module.
    static void WaitAtEnd() {
        py::module_::import("atexit").attr("register")(py::cpp_function(&Calls::End));
        const py::cpp_function forget(&Calls::Forget);
        py::module_::import("os").attr("register_at_fork")(py::arg("after_in_child") = forget);
    }

private:
    static void End() {
        const py::gil_scoped_release released;
        std::unique_lock lock(state.mutex);
        state.isEnding = true;
        state.changed.wait(lock, [] { return state.count == 0; });
    }

    /// In a process that was forked: the other threads stayed behind, and whatever they held.
    static void Forget() {
        ++forks;
        new (&state) CallState; // the old one may be in use: it is not destroyed
    }

    static inline CallState state;
    static inline std::atomic<unsigned> forks = 0;
};

} // namespace python
