// SPDX-License-Identifier: BSD-3-Clause
// Raw OpenGL beside the library: a loader of the application's own draws into a texture of the library's. The
// two loaders do not meet, so this one may be glad, another generated loader, or a few lines as here.
#include "LetterPicture.h"
#include <Eigen/Core>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/Texture.h>

namespace {

namespace GL = Veltrand::GL;

// What generated loaders ask for: a function that finds a function.
using Lookup = void* (*)(const char* name);

// The application's own entry points.
struct Functions {
    void (*enable)(unsigned int capability);
    void (*disable)(unsigned int capability);
    void (*scissor)(int x, int y, int width, int height);
    void (*clearColor)(float red, float green, float blue, float alpha);
    void (*clear)(unsigned int buffers);

    explicit Functions(Lookup lookup) {
        load(enable, lookup("glEnable"));
        load(disable, lookup("glDisable"));
        load(scissor, lookup("glScissor"));
        load(clearColor, lookup("glClearColor"));
        load(clear, lookup("glClear"));
    }

private:
    template<class Function>
    static void load(Function& function, void* address) {
        function = reinterpret_cast<Function>(address);
    }
};

constexpr unsigned int ColorBufferBit = 0x4000;
constexpr unsigned int ScissorTest = 0x0C11;

// A white frame on black, one clear inside the other.
void drawFrame(const Functions& gl, int width, int height) {
    gl.clearColor(1.0F, 1.0F, 1.0F, 1.0F);
    gl.clear(ColorBufferBit);
    gl.enable(ScissorTest);
    gl.scissor(2, 1, width - 4, height - 2);
    gl.clearColor(0.0F, 0.0F, 0.0F, 1.0F);
    gl.clear(ColorBufferBit);
    gl.disable(ScissorTest); // the library's draws obey it too
}

} // namespace

int main() {
    GL::init();
    {
        GL::Texture image({16, 5, 1}, GL::InternalFormat::RGBA8);
        GL::Framebuffer framebuffer;
        const auto guard = framebuffer.guardedBind();
        framebuffer.attach(image, GL::Framebuffer::Attachment::Color0);
        framebuffer.setDrawBuffers();

        const Functions gl(&GL::entryPoint);
        drawFrame(gl, image.width(), image.height());

        printLetters(image);
    }
    GL::deinit();
}
