#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <string>

/// What both modules need from the interpreter.
namespace python {

namespace py = pybind11;

/// Raises an exception of this type, which lives as long as its module.
[[noreturn]] inline void Raise(PyObject* type, const std::string& text) {
    // File names may contain any bytes.
    PyObject* words = PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace");
    if (words) PyErr_SetObject(type, words);
    Py_XDECREF(words);
    throw py::error_already_set();
}

/// The package's exception class Error.
inline py::object ErrorClass() { return py::module_::import("pansharp._errors").attr("Error"); }

/// The state of all calls in a process.
struct CallState {
    std::mutex mutex; ///< guards the following members
    std::condition_variable changed;
    int count = 0;
    std::atomic<bool> isEnding = false;
};

/// Calls that have released the interpreter's lock. When the process ends, Python ends a thread that wants
/// the lock back by unwinding it, but no exception may leave the engine. So the process waits for these
/// calls.
class Calls {
public:
    /// One such call, from before the lock is released until it is taken back.
    struct Running {
        Running() {
            // Raising may wait for the interpreter's lock, so it must not happen under the mutex.
            if (!Begin()) Raise(ErrorClass().ptr(), "nothing is fused any more: the process ends");
        }
        Running(const Running&) = delete;
        Running& operator=(const Running&) = delete;
        ~Running() {
            if (forks != forksBefore) return; // it is counted in the parent process
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
    /// How often the process was forked, counted over its ancestors.
    static unsigned Forks() { return forks; }
    /// Makes the process wait for calls when it ends. Each module calls it once.
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

    /// In a forked process: the other threads, and whatever they held, stayed in the parent.
    static void Forget() {
        ++forks;
        new (&state) CallState; // the old one may be in use: it is not destroyed
    }

    static inline CallState state;
    static inline std::atomic<unsigned> forks = 0;
};

} // namespace python
