// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/GL/MultiAbstractIncludeBase.h>

#include <Veltrand/Core/String.h>
#include <Veltrand/GL/detail/HashCombine.h>

#include <stdexcept>
#include <string_view>
#include <utility>

namespace Veltrand::GL {

namespace {

const AbstractInclude& notNull(const AbstractInclude* wrapped) {
    if (!wrapped)
        throw std::invalid_argument("Wrapped abstract include must not be null.");
    return *wrapped;
}

std::string renamedDefine(const AbstractInclude& wrapped, std::string_view word,
                          std::string_view replacement) {
    return String::replaceAllCopy(wrapped.defineName(), String::toUpperCopy(word),
                                  String::toUpperCopy(replacement));
}

struct Form {
    std::string word;
    std::string replacement;
};

std::vector<Form> formsOf(const std::string& word, const std::string& replacement,
                          Flags<ShaderTextReplacement> modes) {
    std::vector<Form> forms;
    if (modes.test(ShaderTextReplacement::AsIs))
        forms.push_back({word, replacement});
    if (modes.test(ShaderTextReplacement::UpperCase))
        forms.push_back({String::toUpperCopy(word), String::toUpperCopy(replacement)});
    if (modes.test(ShaderTextReplacement::LowerCase))
        forms.push_back({String::toLowerCopy(word), String::toLowerCopy(replacement)});
    return forms;
}

// Appends what stands between the occurrences of @p word.
void cut(std::string_view text, std::string_view word, std::vector<std::string_view>& pieces) {
    for (std::size_t end = 0; !word.empty() && (end = text.find(word)) != std::string_view::npos;
         text.remove_prefix(end + word.size()))
        pieces.push_back(text.substr(0, end));
    pieces.push_back(text);
}

// The text is cut at every form of the word, the earlier forms first, and joined again by the replacement, so
// a replacement that contains the word, or forms one with its surroundings, stays as it is.
std::string rename(const std::string& text, const std::vector<Form>& forms) {
    std::vector<std::string_view> pieces{text};
    for (const Form& form : forms) {
        std::vector<std::string_view> smaller;
        for (const std::string_view piece : pieces)
            cut(piece, form.word, smaller);
        pieces = std::move(smaller);
    }
    std::string result(pieces.front());
    for (std::size_t i = 1; i < pieces.size(); ++i)
        result.append(forms.front().replacement).append(pieces[i]);
    return result;
}

} // namespace

MultiAbstractIncludeBase::MultiAbstractIncludeBase(AbstractInclude* wrapped, std::string word,
                                                   std::string replacement,
                                                   Flags<ShaderTextReplacement> modes)
    : AbstractInclude(renamedDefine(notNull(wrapped), word, replacement), notNull(wrapped).includePath())
    , m_wrapped(wrapped)
    , m_word(std::move(word))
    , m_replacement(std::move(replacement))
    , m_modes(modes) {}

AbstractInclude::CodeSubstitution MultiAbstractIncludeBase::includeCodeSubstitution() const {
    CodeSubstitution inner = m_wrapped->includeCodeSubstitution();
    if (!inner)
        return [](const std::string& text) { return text; };
    return [inner = std::move(inner), forms = formsOf(m_word, m_replacement, m_modes)](
               const std::string& text) { return rename(inner(text), forms); };
}

std::vector<AbstractInclude*> MultiAbstractIncludeBase::dependentIncludes() const {
    return m_wrapped->dependentIncludes();
}

AbstractInclude::Fingerprint MultiAbstractIncludeBase::fingerprint() const {
    Fingerprint result = AbstractInclude::fingerprint();
    const Fingerprint wrapped = m_wrapped->fingerprint();
    result.hash = detail::hashCombine(result.hash, wrapped.hash);
    result.text += wrapped.text;
    return result;
}

} // namespace Veltrand::GL
