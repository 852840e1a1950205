// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/ProgramCache.h>

#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/detail/HashCombine.h>
#include <Veltrand/GL/detail/MoveOnly.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Veltrand::GL {

static_assert(MoveOnly<ProgramCache>);

std::size_t ProgramCache::Impl::ShaderInfo::Hasher::operator()(const ShaderInfo& info) const {
    std::uint64_t hash = std::hash<std::string>()(info.defines);
    for (const AbstractInclude::Fingerprint& fingerprint : info.fingerprints) {
        hash = detail::hashCombine(hash, fingerprint.hash);
        hash = detail::hashCombine(hash, std::hash<std::string>()(fingerprint.text));
    }
    return hash;
}

namespace {

void requireReference(const Program* reference) {
    if (!reference)
        throw std::runtime_error("Reference program must not be null.");
}

} // namespace

ProgramCache::ProgramCache(std::unique_ptr<Program> reference, std::uint64_t capacity)
    : m_cache(std::make_unique<Impl::Cache>(ByteSize(capacity)))
    , m_reference(std::move(reference)) {
    requireReference(m_reference.get());
    // Each variant would be gone before its pointer is returned.
    if (capacity == 0)
        throw std::runtime_error("Capacity of program cache must not be zero.");
}

ProgramCache::ProgramCache(ProgramCache&& other) noexcept = default;
ProgramCache& ProgramCache::operator=(ProgramCache&& other) noexcept = default;
ProgramCache::~ProgramCache() = default;

Program* ProgramCache::getProgram(const std::vector<const AbstractInclude*>& includes,
                                  const std::string& defines) {
    requireReference(m_reference.get());
    Impl::ShaderInfo info;
    info.defines = defines;
    info.fingerprints.reserve(includes.size());
    for (const AbstractInclude* const include : includes)
        if (include)
            info.fingerprints.push_back(include->fingerprint());
    std::sort(info.fingerprints.begin(), info.fingerprints.end());
    if (Impl::Cache::Element* const element = m_cache->find(info))
        return element->value().get();

    m_cache->insert(info, create(includes, defines), ByteSize(1));
    // A slot of the eviction signal may have asked for further variants, at the cost of this one.
    Impl::Cache::Element* const element = m_cache->find(info);
    if (!element)
        throw std::runtime_error("Program variant was evicted while it was created.");
    return element->value().get();
}

Program* ProgramCache::getProgram(const std::string& defines) {
    return getProgram({}, defines);
}

std::unique_ptr<Program> ProgramCache::create(const std::vector<const AbstractInclude*>& includes,
                                              const std::string& defines) const {
    using Compilation = Program::Compilation;
    auto program = m_reference->clone(Program::Cloning::SkipAbstractIncludes, Compilation::Deferred);
    if (!program)
        throw std::runtime_error(
            "Could not clone reference program for given combination of abstract includes.");
    program->setDefines(m_reference->defines() + "\n" + defines, Compilation::Deferred);
    for (const AbstractInclude* const include : includes)
        program->addAbstractIncludeDefinition(include, Compilation::Deferred);
    program->compile(Compilation::ImmediateThrow);
    return program;
}

} // namespace Veltrand::GL
