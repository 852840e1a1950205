// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/Flags.h>
#include <Veltrand/Core/NotCopyable.h>
#include <Veltrand/GL/AbstractInclude.h>
#include <Veltrand/GL/EigenForward.h>
#include <Veltrand/GL/Export.h>
#include <Veltrand/GL/GL.h>

#include <concepts>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Veltrand::GL {

namespace detail {

class PlacedText;
struct IncludeTrail;

template<class T, class... Types>
concept OneOf = (std::same_as<T, Types> || ...);

} // namespace detail

/// The types of value that `Program::setArgument` takes.
template<class T>
concept ProgramArgument = detail::OneOf<T, bool, int, unsigned int, float, double,                       //
                                        std::vector<int>, std::vector<unsigned int>, std::vector<float>, //
                                        Eigen::Vector2i, Eigen::Vector3i, Eigen::Vector4i,               //
                                        Eigen::Vector2f, Eigen::Vector3f, Eigen::Vector4f,               //
                                        Eigen::Vector2d, Eigen::Vector3d, Eigen::Vector4d,               //
                                        Eigen::Matrix2f, Eigen::Matrix3f, Eigen::Matrix4f,               //
                                        Eigen::Matrix2d, Eigen::Matrix3d, Eigen::Matrix4d,               //
                                        std::vector<Eigen::Vector2i>, std::vector<Eigen::Vector3i>,      //
                                        std::vector<Eigen::Vector4i>, std::vector<Eigen::Vector2f>,      //
                                        std::vector<Eigen::Vector3f>, std::vector<Eigen::Vector4f>,      //
                                        std::vector<Eigen::Matrix2f>, std::vector<Eigen::Matrix3f>,      //
                                        std::vector<Eigen::Matrix4f>, std::vector<Eigen::Matrix4d>,      //
                                        Texture, Texture*, const Texture*, std::vector<const Texture*>>;

/// A GLSL program made of named shader files, with the values and resources that it is drawn with.
///
/// A shader name is a repository of the resource layer, "/" and a path in it, such as
/// "VeltrandGL/LineRenderer.vert"; a name without "/" is looked for in all repositories. The files are put
/// together by the shader preprocessor (`loadShaderSource`). A program keeps what it is made of and compiles
/// again after a change.
///
/// Unless stated otherwise, operations need the context that the program was made in, or one that shares with
/// it, current on the calling thread. Messages go to the log category "GL.Program".
class VELTRAND_GL_API Program : private Utils::NotCopyable {
public:
    /// What a shader of the program works on.
    enum class Stage : GLenum {
        Fragment = 0x8B30,               // GL_FRAGMENT_SHADER
        Vertex = 0x8B31,                 // GL_VERTEX_SHADER
        Geometry = 0x8DD9,               // GL_GEOMETRY_SHADER
        TessellationEvaluation = 0x8E87, // GL_TESS_EVALUATION_SHADER
        TessellationControl = 0x8E88,    // GL_TESS_CONTROL_SHADER
        Compute = 0x91B9,                // GL_COMPUTE_SHADER
    };

    /// What an operation that changes a program does about compiling it.
    enum class Compilation {
        Deferred = 0,       ///< only mark the program as needing compilation
        Immediate = 1,      ///< compile and link if needed; failures are logged and answered with false
        ImmediateThrow = 2, ///< compile and link if needed; failures are thrown
    };

    /// What a clone leaves out.
    enum class Cloning : unsigned {
        SkipDecorators = 1,
        SkipAbstractIncludes = 2,
    };

    /// What the shader does to an image.
    enum class ImageAccess : GLenum {
        ReadOnly = 0x88B8,  // GL_READ_ONLY
        WriteOnly = 0x88B9, // GL_WRITE_ONLY
        ReadWrite = 0x88BA, // GL_READ_WRITE
    };

    /// One stage of a program.
    struct ShaderInfo {
        GLuint id = 0;              ///< of the OpenGL shader object
        Stage stage{};              ///< decides on the stage macro
        std::string name;           ///< repository, "/" and path
        std::string overrideSource; ///< compiled in place of the named file unless empty
        bool attached = false;      ///< whether it is attached to the program object
    };

    /// What fills one `#pragma abstract_include` of a program.
    struct AbstractIncludeStruct {
        std::string name;        ///< the name in the directive, and the macro that is defined with it
        std::string keyPrefix;   ///< the names of the abstract includes that lead to this one, joined
        std::string includePath; ///< the resource that is inserted
        /// Of the include that was added; tells whether an entry is as it was.
        AbstractInclude::Fingerprint fingerprint;
        AbstractInclude::CodeSubstitution codeSubstitution; ///< empty for no change
    };
    /// By key prefix and name, joined.
    using AbstractIncludes = std::map<std::string, AbstractIncludeStruct>;

    /// A stage and the name of its shader.
    using StageName = std::pair<Stage, const char*>;

    // Making programs

    /// Creates the OpenGL objects and compiles as @p compilation asks. A failed compilation is logged, and
    /// the program keeps needing it; with `ImmediateThrow` it is thrown. Throws `std::runtime_error` if an
    /// object cannot be created.
    /// @param defines lines of GLSL that go in front of each stage, usually `#define` lines
    /// GL: glCreateProgram, glCreateShader, 2.0 and the version that each stage needs
    Program(const std::vector<StageName>& stages, const std::string& defines, Compilation compilation);
    /// Takes everything over; @p other is left without OpenGL objects, units and stages. It compiles, clones
    /// and computes nothing, takes no uniforms, and enabling it makes no program current.
    Program(Program&& other) noexcept;
    Program& operator=(Program&& other) noexcept;
    /// Takes itself out of use first. What was bound through the program is left alone.
    virtual ~Program();

    /// As the constructor, with these two stages.
    [[nodiscard]] static std::unique_ptr<Program> createVertexFragment(const std::string& vertexName,
                                                                       const std::string& fragmentName,
                                                                       const std::string& defines,
                                                                       Compilation compilation);
    /// As the constructor, with these three stages.
    [[nodiscard]] static std::unique_ptr<Program>
    createVertexGeometryFragment(const std::string& vertexName, const std::string& geometryName,
                                 const std::string& fragmentName, const std::string& defines,
                                 Compilation compilation);
    /// Needs OpenGL 4.3.
    [[nodiscard]] static std::unique_ptr<Program>
    createCompute(const std::string& computeName, const std::string& defines, Compilation compilation);

    /// A program of the same stages, defines, extensions and expand-defines flag, and, unless left out, the
    /// same decorators and abstract includes. Overridden sources, uniform values and bindings are not copied.
    /// Null if it cannot be made or compiled, which is logged; with `ImmediateThrow` it is thrown.
    [[nodiscard]] std::unique_ptr<Program> clone(Flags<Cloning> flags, Compilation compilation) const;

    // Compiling

    /// Compiles and links if the program needs it. True if it needed nothing, or succeeded, or nothing was
    /// asked for (`Deferred`). Bindings of images and buffers are forgotten.
    /// GL: glCompileShader, glLinkProgram, 2.0
    bool compile(Compilation compilation);
    /// Whether it needs no compilation.
    [[nodiscard]] bool isCompiled() const { return !m_needsCompilation; }
    /// Compiles anew from the files as they are now, as after an edit. If that fails, which is logged with
    /// file and line, the answer is false and the program goes on as it was. Otherwise its OpenGL name is a
    /// new one, which is in use if the old one was; uniforms have their initial values, and bindings of
    /// images and buffers are forgotten. GL: glCompileShader, glLinkProgram, 2.0
    bool reload();

    /// As given last.
    [[nodiscard]] const std::string& defines() const { return m_defines; }
    /// See `setExpandDefines`.
    [[nodiscard]] bool expandsDefines() const { return m_expandDefines; }

    // The following change what the program is made of; they return what `compile` does.

    /// Equal defines compile nothing, unless the program needs compiling anyway.
    virtual bool setDefines(const std::string& defines, Compilation compilation);
    /// Whether include directives inside the defines are expanded; off at first.
    bool setExpandDefines(bool expand, Compilation compilation);
    /// Adds a `#extension name : require` line to each stage.
    bool addRequiredExtension(const std::string& name, Compilation compilation);
    /// Compiles @p stage from exactly this text, without includes, version handling or defines. An empty
    /// @p source goes back to the named file.
    bool overrideShaderSource(Stage stage, const std::string& source, Compilation compilation);

    /// Fills an abstract include and those that its dependents stand for. Entries that are as they were stay,
    /// so a second time compiles nothing unless the program needs it anyway. A null @p include changes
    /// nothing. The include is copied from, not kept.
    bool addAbstractIncludeDefinition(const AbstractInclude* include, Compilation compilation);
    /// Empties an abstract include. Those of its dependents stay; remove them by their whole key, which is
    /// the names that lead to them and their own, joined. An unknown name changes nothing and gives true.
    bool removeAbstractIncludeDefinition(const std::string& defineName, Compilation compilation);
    /// By the define name of @p include; null changes nothing and gives true.
    bool removeAbstractIncludeDefinition(const AbstractInclude* include, Compilation compilation);

    /// The complete GLSL text of one stage. Throws `ShaderSourceError`, a `std::runtime_error`, when a file
    /// is missing ("Missing shader", "Missing shader include"), and with file and line when includes are
    /// nested without end. Needs no context.
    [[nodiscard]] static std::string loadShaderSource(const ShaderInfo& shaderInfo, bool expandDefines,
                                                      const AbstractIncludes& abstractIncludes,
                                                      const std::string& defines,
                                                      const std::vector<std::string>& requiredExtensions);
    /// The same text, with where its lines come from.
    [[nodiscard]] static ShaderSource assembleShader(const ShaderInfo& shaderInfo, bool expandDefines,
                                                     const AbstractIncludes& abstractIncludes,
                                                     const std::string& defines,
                                                     const std::vector<std::string>& requiredExtensions);

    // Using

    /// The OpenGL name, 0 after a move; `reload` changes it.
    [[nodiscard]] GLuint id() const { return m_id; }

    /// Makes the program current, then calls the decorators in the order in which they were added. One that
    /// still needs compilation is logged and made current all the same. GL: glUseProgram, 2.0
    void enable();
    /// Makes no program current. GL: glUseProgram, 2.0
    void disable();
    /// Runs the enabled program on this many work groups. Logged and without effect where the entry point is
    /// missing. GL: glDispatchCompute, 4.3
    void dispatchCompute(int x, int y, int z);
    /// The same, as a vector.
    void dispatchCompute(const Eigen::Vector3i& groups);

    /// Adds a decorator that the program does not have yet; it has to outlive its use.
    void addDecorator(ProgramDecorator* decorator);
    /// A decorator that the program does not have is no error.
    void removeDecorator(ProgramDecorator* decorator);

    // Uniforms; the program has to be enabled

    /// The location of a uniform, -1 if the program has none of this name. GL: glGetUniformLocation, 2.0
    [[nodiscard]] int loc(const std::string& name) const;

    /// Sets a uniform; one that the program does not have is no error. Doubles are converted to float, a
    /// vector sets an array, matrices are column-major. A texture is bound as by `bindSampler`; each texture
    /// of a vector gets a unit of its own, and one for which there was none reads from unit 0.
    /// GL: glUniform*, 2.0
    template<ProgramArgument T>
    void setArgument(const std::string& name, const T& value);
    /// A texture that is read through @p sampler.
    void setArgument(const std::string& name, const Texture& texture, const Sampler& sampler);
    /// An array of textures that are all read through @p sampler.
    void setArgument(const std::string& name, const std::vector<const Texture*>& textures,
                     const Sampler& sampler);

    /// Always false: no check is made.
    [[nodiscard]] bool checkForUnititializedUniforms() const;

    // Textures, images and buffers
    //
    // Each name has a unit of its own, from 1 on for textures: unit 0 stays free for code without a program.
    // The program does not own what is bound; an entry lasts until it is unbound.

    /// Binds a texture and optionally a sampler to the unit of @p name, or to a free one.
    /// @param setUniform whether the uniform is set, and the unit that the name has already is used again
    /// @return the unit; -1, logged, if there is none left or @p texture is null
    /// GL: glBindTexture, glBindSampler, 3.3
    int bindSampler(const std::string& name, const Texture* texture, const Sampler* sampler, bool setUniform);
    /// Binds level 0 of a texture, all layers or faces, to the image unit of @p name or to a further one.
    /// @return false, logged, if there is no unit left, as always below OpenGL 4.2
    /// GL: glBindImageTexture, 4.2
    bool bindImage(const std::string& name, const Texture& texture, ImageAccess access);
    /// Binds a buffer to the shader storage block @p name.
    /// @return false, logged, if there is no binding point left, as always below OpenGL 4.3, or no such block
    /// GL: glShaderStorageBlockBinding, 4.3
    bool bindBuffer(const std::string& name, ShaderStorageBuffer& buffer);

    /// Frees every texture unit of @p name.
    void unbindSamplers(const std::string& name);
    /// Forgets the image units and, if asked, unbinds and forgets the textures too.
    void unbindImages(bool alsoTextures);
    /// Forgets the buffer bindings.
    void unbindBuffers();
    /// Forgets the buffers of the storage block @p name.
    void unbindBuffers(const std::string& name);
    /// The number of texture units in use.
    [[nodiscard]] int numImages() const;

protected:
    /// A new program of the same stages and defines, not compiled. A subclass makes one of its own kind.
    [[nodiscard]] virtual std::unique_ptr<Program> cloneImpl() const;
    /// Whether it has been compiled as it is now, and did not compile.
    [[nodiscard]] bool hasFailedToCompile() const { return m_failedToCompile; }

private:
    struct TextureBinding {
        const Texture* texture = nullptr; // never followed: it may be gone when its unit is released
        const Sampler* sampler = nullptr;
        std::string name;
        GLenum target = 0; // that the texture was bound with
    };
    struct ImageBinding {
        const Texture* texture = nullptr;
        std::string name;
    };
    struct BufferBinding {
        const ShaderStorageBuffer* buffer = nullptr;
        int blockIndex = 0;
        std::string name;
    };

    explicit Program(const std::string& defines);
    void swap(Program& other) noexcept;

    bool initProgram(Compilation compilation);
    void compileAndLink();
    void initShader(const ShaderInfo& shaderInfo) const;
    [[nodiscard]] std::string joinShaderNames() const;
    [[nodiscard]] std::vector<StageName> stageNames() const;
    void copySettings(const Program& other, Flags<Cloning> flags);
    bool changed(Compilation compilation);
    void collectDefinitions(const AbstractInclude& include, const std::string& keyPrefix,
                            std::vector<AbstractIncludeStruct>& definitions) const;

    [[nodiscard]] static detail::PlacedText
    expandInclude(std::string_view line, std::string& abstractDefines, int& minVersion, int& maxVersion,
                  std::vector<std::string>& includedFiles, const std::string& shaderName,
                  const AbstractIncludes& abstractIncludes, const std::string& defines,
                  const std::string& keyPrefix, detail::IncludeTrail& trail);
    [[nodiscard]] static std::string determineVersion(int minVersion, int maxVersion,
                                                      const std::string& shaderName);
    static void convertLegacyCodeToModernGlsl(detail::PlacedText& source, Stage stage);

    void initBindings();
    [[nodiscard]] int takeTextureUnit(const std::string& name, bool reuse);
    static void releaseTextureUnit(GLuint unit, const TextureBinding& binding);
    void bindSamplers(const std::string& name, const std::vector<const Texture*>& textures,
                      const Sampler* sampler);

    GLuint m_id = 0;
    std::vector<ShaderInfo> m_shaders;
    std::string m_defines;
    std::vector<TextureBinding> m_textureBindings;
    std::vector<BufferBinding> m_bufferBindings;
    std::vector<ImageBinding> m_imageBindings;
    std::size_t m_maxTextureUnits = 0;
    std::size_t m_maxImageUnits = 0;
    std::vector<ProgramDecorator*> m_decorators;
    bool m_expandDefines = false;
    AbstractIncludes m_abstractIncludes;
    std::vector<std::string> m_requiredExtensions;
    bool m_needsCompilation = true;
    bool m_failedToCompile = false;
};

VELTRAND_FLAG_OPERATORS(Program::Cloning)

} // namespace Veltrand::GL
