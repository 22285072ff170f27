#include "search/news_key.h"

#include <optional>
#include <string_view>

#include "search/setting_text.h"

namespace {

constexpr std::string_view kMethodTag = "C:";
constexpr std::string_view kTypesTag = " T:";
constexpr std::string_view kKeywordsTag = " K:";
constexpr std::string_view kEmptyKeyword = "%-";

// Splits at every comma; an empty text has no elements, an empty element is refused.
std::optional<std::vector<std::string_view>> splitElements(std::string_view text) {
    std::vector<std::string_view> parts;
    if (text.empty()) {
        return parts;
    }
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = text.find(',', start);
        const std::string_view part = text.substr(start, comma == std::string_view::npos ? comma : comma - start);
        if (part.empty()) {
            return std::nullopt;
        }
        parts.push_back(part);
        if (comma == std::string_view::npos) {
            return parts;
        }
        start = comma + 1;
    }
}

} // namespace

CNewsKey::CNewsKey(int method, std::vector<int> newsTypes, std::vector<CString> keywords)
    : m_iMethod(method), m_vNewsType(std::move(newsTypes)), m_vKeyword(std::move(keywords)) {}

bool CNewsKey::bSameKeySet(const CNewsKey& other) const {
    return m_iMethod == other.m_iMethod && m_vNewsType == other.m_vNewsType && m_vKeyword == other.m_vKeyword;
}

void CNewsKey::GetString(CString& out) const {
    out.assign(kMethodTag);
    out += std::to_string(m_iMethod);
    out += kTypesTag;
    for (std::size_t i = 0; i < m_vNewsType.size(); ++i) {
        out += (i > 0 ? "," : "") + std::to_string(m_vNewsType[i]);
    }
    out += kKeywordsTag;
    for (std::size_t i = 0; i < m_vKeyword.size(); ++i) {
        if (i > 0) {
            out += ',';
        }
        if (m_vKeyword[i].empty()) {
            out += kEmptyKeyword;
        } else {
            news::AppendEscapedElement(out, m_vKeyword[i]);
        }
    }
}

CString CNewsKey::GetString() const {
    CString out;
    GetString(out);
    return out;
}

bool CNewsKey::LoadString(const CString& text) {
    const std::string_view view(text);
    if (view.substr(0, kMethodTag.size()) != kMethodTag) {
        return false;
    }
    // No escaped element holds a blank, so the first " T:" and " K:" are the tags.
    const std::size_t types = view.find(kTypesTag);
    const std::size_t keywords = types == std::string_view::npos ? types : view.find(kKeywordsTag, types);
    if (keywords == std::string_view::npos) {
        return false;
    }
    const std::optional<int> method = news::ParseStrictInt(view.substr(kMethodTag.size(), types - kMethodTag.size()));
    const std::size_t typesStart = types + kTypesTag.size();
    const auto typeParts = splitElements(view.substr(typesStart, keywords - typesStart));
    const auto keywordParts = splitElements(view.substr(keywords + kKeywordsTag.size()));
    if (!method || !typeParts || !keywordParts) {
        return false;
    }
    std::vector<int> newsTypes;
    for (const std::string_view part : *typeParts) {
        const std::optional<int> id = news::ParseStrictInt(part);
        if (!id) {
            return false;
        }
        newsTypes.push_back(*id);
    }
    std::vector<CString> words;
    for (const std::string_view part : *keywordParts) {
        if (part == kEmptyKeyword) {
            words.emplace_back();
            continue;
        }
        std::optional<CString> word = news::UnescapeElement(part);
        if (!word) {
            return false;
        }
        words.push_back(std::move(*word));
    }
    m_iMethod = *method;
    m_vNewsType = std::move(newsTypes);
    m_vKeyword = std::move(words);
    return true;
}
