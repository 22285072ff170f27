#include "host/backend/search.h"

#include <charconv>
#include <optional>
#include <string_view>

#include "host/text/escape.h"

// Text form, one line:
//   CSearch/1;s=<scope>;m=<method>;t=<time>;f=<0|1>;k=<count>:<item>,<item>...;y=<count>:<item>,...
// Items escape '%', ';', ',', '=', blanks, control bytes and 0x7F as %XX (two upper-case hex
// digits). Every other byte, Big5 lead and trail bytes included, stands as it is: none of the
// escaped bytes can be a Big5 trail byte, so a reader never splits a character.
namespace {

constexpr std::string_view kMagic = "CSearch/1";

bool needsEscape(unsigned char c) {
    return c < 0x21 || c == 0x7F || c == '%' || c == ';' || c == ',' || c == '=';
}

void appendList(CString& out, std::string_view name, const std::vector<CString>& items) {
    out += ';';
    out += name;
    out += '=';
    text::appendCountedList(out, items, needsEscape);
}

// Splits "name=value" fields at ';' (items never contain a raw ';').
class Reader {
public:
    explicit Reader(std::string_view text) : m_text(text) {}

    std::optional<std::string_view> field(std::string_view name) {
        if (m_pos >= m_text.size() || m_text[m_pos] != ';') {
            return std::nullopt;
        }
        ++m_pos;
        const std::size_t end = m_text.find(';', m_pos);
        const std::string_view part = m_text.substr(m_pos, end == std::string_view::npos ? end : end - m_pos);
        m_pos = end == std::string_view::npos ? m_text.size() : end;
        if (part.size() <= name.size() || part.substr(0, name.size()) != name || part[name.size()] != '=') {
            return std::nullopt;
        }
        return part.substr(name.size() + 1);
    }
    bool atEnd() const { return m_pos == m_text.size(); }

private:
    std::string_view m_text;
    std::size_t m_pos = 0;
};

// Decimal digits, with a '-' for a negative signed value: one spelling per value, so no '+',
// no leading zero and no "-0".
template <class Int> std::optional<Int> parseInt(std::string_view text) {
    Int value{};
    const bool negative = !text.empty() && text[0] == '-';
    const std::string_view digits = negative ? text.substr(1) : text;
    if (digits.empty() || digits[0] < '0' || digits[0] > '9' || (digits[0] == '0' && (digits.size() > 1 || negative))) {
        return std::nullopt;
    }
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace

void CSearch::GetString(CString& out) const {
    out.assign(kMagic);
    out += ";s=" + std::to_string(m_byScope);
    out += ";m=" + std::to_string(m_byMethod);
    out += ";t=" + std::to_string(m_tTime);
    out += ";f=";
    out += m_bKeywordSearch ? '1' : '0';
    appendList(out, "k", m_vKeywords);
    appendList(out, "y", m_vSymbols);
}

CString CSearch::GetString() const {
    CString out;
    GetString(out);
    return out;
}

bool CSearch::LoadStringA(const CString& text) {
    const std::string_view view(text);
    if (view.substr(0, kMagic.size()) != kMagic) {
        return false;
    }
    Reader reader(view.substr(kMagic.size()));
    const auto scopeText = reader.field("s");
    const auto methodText = scopeText ? reader.field("m") : std::nullopt;
    const auto timeText = methodText ? reader.field("t") : std::nullopt;
    const auto flagText = timeText ? reader.field("f") : std::nullopt;
    const auto keywordText = flagText ? reader.field("k") : std::nullopt;
    const auto symbolText = keywordText ? reader.field("y") : std::nullopt;
    if (!symbolText || !reader.atEnd()) {
        return false;
    }
    const auto scope = parseInt<unsigned>(*scopeText);
    const auto method = parseInt<unsigned>(*methodText);
    // Parsed with its sign, so the most negative time (which has no positive twin) loads too.
    const auto time = parseInt<std::int64_t>(*timeText);
    auto keywords = text::decodeCountedList(*keywordText, needsEscape);
    auto symbols = text::decodeCountedList(*symbolText, needsEscape);
    if (!scope || *scope > 255 || !method || *method > 255 || !time || (*flagText != "0" && *flagText != "1") ||
        !keywords || !symbols) {
        return false;
    }
    m_byScope = static_cast<unsigned char>(*scope);
    m_byMethod = static_cast<unsigned char>(*method);
    m_tTime = *time;
    m_bKeywordSearch = *flagText == "1";
    m_vKeywords = std::move(*keywords);
    m_vSymbols = std::move(*symbols);
    return true;
}
