// SPDX-License-Identifier: BSD-3-Clause
#include "support/Program.h"

#include <Veltrand/Core/NotCopyable.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <exception>
#include <iostream>
#include <streambuf>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace Veltrand::Apps {

namespace {

/// Stands in for the buffer of `std::cout`, whose failures do not tell their reason.
class StandardOutput final : private std::streambuf, private Utils::NotCopyable {
public:
    StandardOutput()
        : m_previous(std::cout.rdbuf(this)) {
        clear();
    }
    ~StandardOutput() override {
        sync();
        std::cout.rdbuf(m_previous);
    }

    /// Writes what is left; the error number of the first write that failed, or 0.
    [[nodiscard]] int close() {
        sync();
        return m_error;
    }

private:
    int_type overflow(int_type character) override {
        if (sync() != 0)
            return traits_type::eof();
        if (!traits_type::eq_int_type(character, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(character);
            pbump(1);
        }
        return traits_type::not_eof(character);
    }

    int sync() override {
        const char* next = pbase();
        while (m_error == 0 && next != pptr()) {
            const ssize_t written = ::write(STDOUT_FILENO, next, static_cast<std::size_t>(pptr() - next));
            if (written >= 0)
                next += written;
            else if (errno != EINTR)
                m_error = errno;
        }
        clear();
        return m_error == 0 ? 0 : -1;
    }

    void clear() { setp(m_text.data(), m_text.data() + m_text.size()); }

    std::streambuf* m_previous;
    std::array<char, 4096> m_text{};
    int m_error = 0;
};

/// Where the caller has closed a standard stream, the next file or socket that is opened would get its
/// number, and the text that is meant for the stream.
void occupyStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) < 0)
            (void)::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

int carryOut(const ProgramText& program, const std::function<int()>& body) {
    try {
        return body();
    } catch (const UsageError& error) {
        std::cerr << program.name << ": " << error.what() << '\n' << program.usage << '\n';
        return 2;
    } catch (const std::exception& error) {
        std::cerr << program.name << ": " << error.what() << '\n';
        return program.failure;
    }
}

} // namespace

std::string_view libraryVersion() {
    return VELTRAND_VERSION;
}

bool answer(const ProgramText& program, Question question) {
    switch (question) {
    case Question::Help:
        std::cout << program.usage << '\n' << program.help;
        return true;
    case Question::Version:
        std::cout << program.name << ' ' << libraryVersion() << '\n';
        return true;
    case Question::None:
        break;
    }
    return false;
}

int runProgram(const ProgramText& program, const std::function<int()>& body) {
    occupyStandardStreams();
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe is told like a full disk
    StandardOutput output;
    const int status = carryOut(program, body);
    if (const int error = output.close(); error != 0) {
        std::cerr << program.name
                  << ": cannot write to standard output: " << std::generic_category().message(error) << ".\n";
        return program.failure;
    }
    return status;
}

} // namespace Veltrand::Apps
