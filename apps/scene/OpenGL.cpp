// SPDX-License-Identifier: BSD-3-Clause
#include "scene/OpenGL.h"

#include <Veltrand/Core/Log.h>
#include <Veltrand/GL/ContextGLX.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace Veltrand::Apps {

namespace {

/// Listens to the log, which is silent meanwhile unless it is to be shown.
class LastError : private Utils::NotCopyable {
public:
    explicit LastError(bool isShown)
        : m_sink(Log::addSink([this](const Log::Message& message) {
            if (message.level >= Log::Error)
                m_text = message.text;
        })) {
        Log::setDefaultSinkEnabled(isShown);
    }
    ~LastError() {
        Log::setDefaultSinkEnabled(true);
        Log::removeSink(m_sink);
    }

    [[nodiscard]] const std::string& text() const { return m_text; }

private:
    std::string m_text;
    Log::SinkId m_sink;
};

void start(OpenGL::On context) {
    if (context == OpenGL::On::HiddenContext)
        return GL::init();
    auto adopted = GL::ContextGLX::adoptCurrent();
    if (!adopted)
        throw GL::OpenGLNotFoundException("the window's context cannot be used");
    GL::init(std::move(adopted));
}

} // namespace

OpenGL::OpenGL(On context, bool verbose) {
    if (GL::ContextManager::openGlDisabled())
        throw std::runtime_error("OpenGL is switched off by VELTRAND_DISABLE_OPENGL.");
    const LastError logged(verbose);
    try {
        start(context);
    } catch (const GL::OpenGLNotFoundException& error) {
        throw std::runtime_error(
            "there is no usable OpenGL: " + (logged.text().empty() ? error.what() : logged.text()) + ".");
    }
}

OpenGL::~OpenGL() {
    GL::deinit();
}

int takeOpenGlErrors() {
    int count = 0;
    while (count < 100 && GL::Debug::check() != GL::Debug::Error::NoError)
        ++count;
    return count;
}

} // namespace Veltrand::Apps
