// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Forward declarations and basic types. No header of this library includes an OpenGL or X11 header.
namespace Veltrand::GL {

using GLenum = unsigned int; ///< a token of OpenGL, by its number
using GLuint = unsigned int; ///< the name of an object, an index or bits
using GLint = int;           ///< a location or a count

/// What vertices form. Passed to the OpenGL draw calls as it is.
enum class Primitive : GLenum {
    Points = 0x0000,                 // GL_POINTS
    Lines = 0x0001,                  // GL_LINES
    LineLoop = 0x0002,               // GL_LINE_LOOP
    LineStrip = 0x0003,              // GL_LINE_STRIP
    Triangles = 0x0004,              // GL_TRIANGLES
    TriangleStrip = 0x0005,          // GL_TRIANGLE_STRIP
    TriangleFan = 0x0006,            // GL_TRIANGLE_FAN
    LinesAdjacency = 0x000A,         // GL_LINES_ADJACENCY
    LineStripAdjacency = 0x000B,     // GL_LINE_STRIP_ADJACENCY
    TrianglesAdjacency = 0x000C,     // GL_TRIANGLES_ADJACENCY
    TriangleStripAdjacency = 0x000D, // GL_TRIANGLE_STRIP_ADJACENCY
    Patches = 0x000E,                // GL_PATCHES
};

class AbstractInclude;
class AtomicCounterBuffer;
class Blending;
class Buffer;
class Context;
class ContextGLX;
class ContextManager;
class FixedFunctionPipeline;
class FontAtlas;
class Framebuffer;
class FullscreenSquare;
class ImageProgram;
class IndexBuffer;
class InternalFormat;
class LineRenderer;
class MultiAbstractIncludeBase;
class ObjectPicking;
class OffscreenRenderHelper;
class OpenGLNotFoundException;
class OrderIndependentTransparency;
class Program;
class ProgramCache;
class ProgramDecorator;
class Sampler;
class ShaderLineMap;
class ShaderSourceError;
class ShaderStorageBuffer;
class StateGuard;
class SyncObject;
class TextRenderer;
class Texture;
class VertexArrayObject;
class VertexBuffer;
class ViewState;
struct ShaderSource;
struct Viewport;

} // namespace Veltrand::GL
