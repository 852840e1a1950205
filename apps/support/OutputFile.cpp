// SPDX-License-Identifier: BSD-3-Clause
#include "support/OutputFile.h"

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace Veltrand::Apps {

namespace {

std::string lastError() {
    return std::generic_category().message(errno);
}

} // namespace

OutputFile::OutputFile(const std::filesystem::path& file)
    : m_file(file)
    , m_temporary(file.parent_path() /
                  ("." + file.filename().string() + "." + std::to_string(::getpid()) + ".part")) {
    const int descriptor = ::open(m_temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0)
        refuse(lastError());
    m_stream = ::fdopen(descriptor, "wb");
    if (m_stream == nullptr) {
        ::close(descriptor);
        std::remove(m_temporary.c_str());
        refuse(lastError());
    }
}

OutputFile::~OutputFile() {
    if (m_stream != nullptr)
        std::fclose(m_stream);
    if (!m_kept)
        std::remove(m_temporary.c_str());
}

void OutputFile::keep() {
    std::FILE* stream = m_stream;
    m_stream = nullptr;
    if (std::fclose(stream) != 0 || std::rename(m_temporary.c_str(), m_file.c_str()) != 0)
        refuse(lastError());
    m_kept = true;
}

void OutputFile::refuse(std::string_view reason) const {
    throw std::runtime_error("cannot write " + m_file.string() + ": " + std::string(reason) + ".");
}

void writeText(const std::filesystem::path& file, std::string_view text) {
    OutputFile output(file);
    if (std::fwrite(text.data(), 1, text.size(), output.stream()) != text.size())
        output.refuse(lastError());
    output.keep();
}

} // namespace Veltrand::Apps
