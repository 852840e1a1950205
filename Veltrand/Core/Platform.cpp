// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/Platform.h>

#include <array>
#include <backtrace.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>
#include <memory>
#include <mutex>

namespace Veltrand::Platform {

namespace {

void ignoreError(void*, const char*, int) {}

// How many modules the process has loaded so far.
unsigned long long countLoads() {
    unsigned long long loads = 0;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* result) {
            *static_cast<unsigned long long*>(result) = info->dlpi_adds;
            return 1;
        },
        &loads);
    return loads;
}

// Guards the readers and their use. Never held over calls that take the dynamic loader's own lock, under
// which constructors of a module that is being loaded may ask for a trace.
std::mutex readerMutex;

// The reader of debug information. It knows the modules that were loaded when it was first used and can never
// be freed, so modules loaded later get a new reader, but only a few times; after that they stay unknown.
backtrace_state* reader() {
    constexpr int maximumReaders = 8;
    static backtrace_state* current = nullptr;
    static unsigned long long knownLoads = 0;
    static int readers = 0;

    const unsigned long long loads = countLoads();
    const std::lock_guard lock(readerMutex);
    if (!current || (loads != knownLoads && readers < maximumReaders)) {
        if (backtrace_state* const fresh = backtrace_create_state(nullptr, 1, ignoreError, nullptr)) {
            current = fresh;
            knownLoads = loads;
            ++readers;
        }
    }
    return current;
}

struct CallStack {
    std::array<std::uintptr_t, 256> calls; // addresses inside the call instructions
    std::size_t count;
};

int addCall(void* stack, std::uintptr_t call) {
    auto& s = *static_cast<CallStack*>(stack);
    // Unwinding ends with a frame that no code belongs to.
    if (call != 0 && call != UINTPTR_MAX)
        s.calls[s.count++] = call;
    return s.count == s.calls.size() ? 1 : 0;
}

std::string demangled(const char* name) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    return status == 0 && text ? text.get() : name;
}

struct Trace {
    std::string text;
    int lines = 0;
    std::string symbol; // of the current address in the symbol table, demangled
    bool failed = false;

    void add(const std::string& function, const std::string& place) {
        text += '#' + std::to_string(lines++) + ' ' + function + " (" + place + ")\n";
    }
};

// The callbacks below run inside C code, which no exception may pass.

void takeSymbol(void* trace, std::uintptr_t, const char* symbol, std::uintptr_t, std::uintptr_t) {
    auto& t = *static_cast<Trace*>(trace);
    try {
        t.symbol = symbol ? demangled(symbol) : std::string();
    } catch (...) {
        t.failed = true;
    }
}

// Called once for each function inlined at the address, innermost first.
int addLine(void* trace, std::uintptr_t, const char* file, int line, const char* function) {
    auto& t = *static_cast<Trace*>(trace);
    if (!file || !function)
        return 0;
    try {
        std::string name = demangled(function);
        // For functions of internal linkage the debug information has the bare name, the symbol the whole.
        if (t.symbol.find("::" + name + '(') != std::string::npos)
            name = t.symbol;
        t.add(name, std::string(file) + ':' + std::to_string(line));
    } catch (...) {
        t.failed = true;
    }
    return t.failed ? 1 : 0;
}

// For code without debug information.
void addModule(Trace& trace, std::uintptr_t call) {
    Dl_info info{};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): addresses come as numbers
    if (dladdr(reinterpret_cast<const void*>(call), &info) == 0 || !info.dli_fname) {
        trace.add(trace.symbol.empty() ? "??" : trace.symbol, "??");
        return;
    }
    if (trace.symbol.empty())
        trace.symbol = info.dli_sname ? demangled(info.dli_sname) : "??";
    std::array<char, 24> offset{};
    std::snprintf(offset.data(), offset.size(), "+0x%zx",
                  static_cast<std::size_t>(call - reinterpret_cast<std::uintptr_t>(info.dli_fbase)));
    trace.add(trace.symbol, std::string(info.dli_fname) + offset.data());
}

void addFrame(Trace& trace, backtrace_state* state, std::uintptr_t call) {
    const int before = trace.lines;
    trace.symbol.clear();
    {
        const std::lock_guard lock(readerMutex);
        backtrace_syminfo(state, call, takeSymbol, ignoreError, &trace);
        backtrace_pcinfo(state, call, addLine, ignoreError, &trace);
    }
    if (trace.lines == before)
        addModule(trace, call);
}

} // namespace

std::string getEnvironmentVariable(const std::string& name) {
    const char* const value = std::getenv(name.c_str());
    return value ? value : std::string();
}

// Never inlined, so that exactly one frame is its own.
__attribute__((noinline)) std::string stacktrace() noexcept {
    Trace trace;
    try {
        backtrace_state* const state = reader();
        CallStack stack{};
        if (state)
            backtrace_simple(state, 1, addCall, ignoreError, &stack);
        for (std::size_t i = 0; i < stack.count && !trace.failed; ++i)
            addFrame(trace, state, stack.calls[i]);
    } catch (...) {
        // A trace is made where something failed already: half of one is better than a second failure.
    }
    return std::move(trace.text);
}

} // namespace Veltrand::Platform
