#include "host/ui/dialog_template.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>

#include "host/text/cp950.h"

namespace host::ui {

namespace {

struct Token {
    std::string text;
    bool quoted = false;
};

// A failure at a line; caught once, at the top of the parser.
struct ParseFailure {
    int line;
    std::string message;
};

[[noreturn]] void failAt(int line, std::string message) {
    throw ParseFailure{line, std::move(message)};
}

// Well-formed UTF-8 without overlong forms, surrogates or code points above U+10FFFF.
bool isValidUtf8(std::string_view s) {
    std::size_t i = 0;
    while (i < s.size()) {
        const auto c = static_cast<unsigned char>(s[i]);
        std::size_t extra = 0;
        char32_t cp = 0;
        if (c < 0x80) {
            ++i;
            continue;
        }
        if (c >= 0xC2 && c <= 0xDF) {
            extra = 1;
            cp = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            extra = 2;
            cp = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            extra = 3;
            cp = c & 0x07;
        } else {
            return false;
        }
        if (i + extra >= s.size()) {
            return false;
        }
        for (std::size_t k = 1; k <= extra; ++k) {
            const auto t = static_cast<unsigned char>(s[i + k]);
            if ((t & 0xC0) != 0x80) {
                return false;
            }
            cp = (cp << 6) | (t & 0x3F);
        }
        const char32_t minimum = extra == 1 ? 0x80 : extra == 2 ? 0x800 : 0x10000;
        if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            return false;
        }
        i += extra + 1;
    }
    return true;
}

// Splits one line into words; "quoted words" may hold blanks and the escapes \" \\ \n \r \t.
std::vector<Token> splitLine(std::string_view line, int lineNo) {
    std::vector<Token> tokens;
    std::size_t i = 0;
    while (i < line.size()) {
        if (line[i] == ' ' || line[i] == '\t') {
            ++i;
            continue;
        }
        Token token;
        if (line[i] == '"') {
            token.quoted = true;
            ++i;
            bool closed = false;
            while (i < line.size()) {
                const char c = line[i++];
                if (c == '"') {
                    closed = true;
                    break;
                }
                if (c != '\\') {
                    token.text += c;
                    continue;
                }
                if (i >= line.size()) {
                    break;
                }
                const char e = line[i++];
                switch (e) {
                case '"':
                case '\\':
                    token.text += e;
                    break;
                case 'n':
                    token.text += '\n';
                    break;
                case 'r':
                    token.text += '\r';
                    break;
                case 't':
                    token.text += '\t';
                    break;
                default:
                    failAt(lineNo, std::string("unknown escape \\") + e + " in a quoted text");
                }
            }
            if (!closed) {
                failAt(lineNo, "a quoted text is not closed");
            }
            if (i < line.size() && line[i] != ' ' && line[i] != '\t') {
                failAt(lineNo, "a quoted text must be followed by a blank");
            }
        } else {
            while (i < line.size() && line[i] != ' ' && line[i] != '\t') {
                if (line[i] == '"') {
                    failAt(lineNo, "a quote inside a word");
                }
                token.text += line[i++];
            }
        }
        tokens.push_back(std::move(token));
    }
    return tokens;
}

class Parser {
public:
    explicit Parser(std::string_view text) : m_text(text) {}

    DialogTemplate run() {
        if (m_text.size() > kMaxTemplateBytes) {
            failAt(0, "the template is larger than " + std::to_string(kMaxTemplateBytes / 1024) + " KB");
        }
        std::string_view rest = m_text;
        if (rest.substr(0, 3) == "\xEF\xBB\xBF") {
            rest.remove_prefix(3);
        }
        int lineNo = 0;
        while (!rest.empty()) {
            ++lineNo;
            const std::size_t eol = rest.find('\n');
            std::string_view line = rest.substr(0, eol);
            rest.remove_prefix(eol == std::string_view::npos ? rest.size() : eol + 1);
            if (!line.empty() && line.back() == '\r') {
                line.remove_suffix(1);
            }
            parseLine(line, lineNo);
        }
        if (!m_haveDialog) {
            failAt(lineNo, "no 'dialog ID' line");
        }
        if (!m_haveSize) {
            failAt(lineNo, "no 'size WIDTH HEIGHT' line");
        }
        return std::move(m_out);
    }

private:
    void parseLine(std::string_view line, int lineNo) {
        if (!isValidUtf8(line)) {
            failAt(lineNo, "the line is not valid UTF-8");
        }
        for (const char c : line) {
            if ((static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F) {
                failAt(lineNo, "the line holds a control character");
            }
        }
        const std::size_t first = line.find_first_not_of(" \t");
        if (first == std::string_view::npos || line[first] == '#') {
            return;
        }
        const std::vector<Token> words = splitLine(line, lineNo);
        const Token& head = words.front();
        if (head.quoted) {
            failAt(lineNo, "a line starts with a keyword, not a quoted text");
        }
        if (head.text != "dialog" && !m_haveDialog) {
            failAt(lineNo, "the first line must be 'dialog ID'");
        }
        if (head.text == "dialog") {
            once(m_haveDialog, "dialog", lineNo);
            expectCount(words, 2, 2, "dialog ID", lineNo);
            m_out.id = number(words[1], 0, 65535, "the dialog id", lineNo);
        } else if (head.text == "caption") {
            once(m_haveCaption, "caption", lineNo);
            expectCount(words, 2, 2, "caption \"TEXT\"", lineNo);
            m_out.caption = text(words[1], lineNo);
        } else if (head.text == "size") {
            once(m_haveSize, "size", lineNo);
            expectCount(words, 3, 3, "size WIDTH HEIGHT", lineNo);
            m_out.size = Size{number(words[1], 1, kMaxTemplateCoordinate, "the width", lineNo),
                              number(words[2], 1, kMaxTemplateCoordinate, "the height", lineNo)};
        } else if (head.text == "style") {
            once(m_haveStyle, "style", lineNo);
            parseStyle(words, lineNo);
        } else if (head.text == "font") {
            once(m_haveFont, "font", lineNo);
            expectCount(words, 3, 3, "font \"FACE\" HEIGHT", lineNo);
            m_out.font.faceName = text(words[1], lineNo);
            m_out.font.height = number(words[2], -200, 200, "the font height", lineNo);
            if (m_out.font.faceName.empty() || m_out.font.height == 0) {
                failAt(lineNo, "a font needs a face name and a non-zero height");
            }
        } else if (const std::optional<ControlKind> kind = kindOf(head.text)) {
            parseControl(*kind, words, lineNo);
        } else {
            failAt(lineNo, "unknown keyword '" + head.text +
                               "' (dialog, caption, size, style, font or a control kind: button, checkbox, radio, "
                               "groupbox, edit, static, listbox, listctrl, tabs, richedit, hoverbutton, tree)");
        }
    }

    static std::optional<ControlKind> kindOf(const std::string& word) {
        static const std::map<std::string, ControlKind, std::less<>> kKinds = {
            {"button", ControlKind::kButton},
            {"checkbox", ControlKind::kCheckBox},
            {"radio", ControlKind::kRadio},
            {"groupbox", ControlKind::kGroupBox},
            {"edit", ControlKind::kEdit},
            {"static", ControlKind::kStatic},
            {"listbox", ControlKind::kListBox},
            {"listctrl", ControlKind::kListCtrl},
            {"tabs", ControlKind::kTabs},
            {"richedit", ControlKind::kRichEdit},
            {"hoverbutton", ControlKind::kHoverButton},
            {"tree", ControlKind::kTree},
        };
        const auto it = kKinds.find(word);
        return it == kKinds.end() ? std::nullopt : std::optional<ControlKind>(it->second);
    }

    void parseStyle(const std::vector<Token>& words, int lineNo) {
        if (words.size() < 2) {
            failAt(lineNo, "'style' needs at least one of: titled, borderless, resizable");
        }
        bool titled = false;
        bool borderless = false;
        for (std::size_t i = 1; i < words.size(); ++i) {
            const std::string& w = words[i].text;
            if (words[i].quoted) {
                failAt(lineNo, "style words are not quoted");
            } else if (w == "titled") {
                titled = true;
            } else if (w == "borderless") {
                borderless = true;
            } else if (w == "resizable") {
                m_out.resizable = true;
            } else {
                failAt(lineNo, "unknown style '" + w + "' (titled, borderless, resizable)");
            }
        }
        if (titled && borderless) {
            failAt(lineNo, "a dialog cannot be both titled and borderless");
        }
        m_out.frame = borderless ? DialogTemplate::Frame::kBorderless : DialogTemplate::Frame::kTitled;
    }

    void parseControl(ControlKind kind, const std::vector<Token>& words, int lineNo) {
        if (m_out.controls.size() >= kMaxTemplateControls) {
            failAt(lineNo, "more than " + std::to_string(kMaxTemplateControls) + " controls");
        }
        if (words.size() < 6) {
            failAt(lineNo, std::string(controlKindName(kind)) + " needs: ID X Y WIDTH HEIGHT [\"TEXT\"] [options]");
        }
        ControlTemplate c;
        c.kind = kind;
        c.line = lineNo;
        c.id = number(words[1], -1, 65535, "the control id", lineNo);
        const int x = number(words[2], -kMaxTemplateCoordinate, kMaxTemplateCoordinate, "X", lineNo);
        const int y = number(words[3], -kMaxTemplateCoordinate, kMaxTemplateCoordinate, "Y", lineNo);
        const int w = number(words[4], 0, kMaxTemplateCoordinate, "the width", lineNo);
        const int h = number(words[5], 0, kMaxTemplateCoordinate, "the height", lineNo);
        c.rect = Rect{x, y, x + w, y + h};
        if (c.id >= 0) {
            const auto [it, added] = m_ids.emplace(c.id, lineNo);
            if (!added) {
                failAt(lineNo,
                       "control id " + std::to_string(c.id) + " is already used on line " + std::to_string(it->second));
            }
        }
        std::size_t i = 6;
        if (i < words.size() && words[i].quoted) {
            c.text = text(words[i], lineNo);
            ++i;
        }
        while (i < words.size()) {
            i = parseOption(c, words, i, lineNo);
        }
        if (kind == ControlKind::kRichEdit) {
            c.multiline = true;
        }
        m_out.controls.push_back(std::move(c));
    }

    // Parses the option at words[i]; returns the index after it.
    std::size_t parseOption(ControlTemplate& c, const std::vector<Token>& words, std::size_t i, int lineNo) {
        const Token& word = words[i];
        if (word.quoted) {
            failAt(lineNo, "a text must come right after the size; \"" + word.text + "\" is out of place");
        }
        const std::string& o = word.text;
        const ControlKind k = c.kind;
        const auto allow = [&](bool ok) {
            if (!ok) {
                failAt(lineNo, "option '" + o + "' does not apply to " + controlKindName(k));
            }
        };
        const bool anyButton = k == ControlKind::kButton || k == ControlKind::kHoverButton;
        const bool textual = k == ControlKind::kEdit || k == ControlKind::kRichEdit;
        if (o == "hidden") {
            c.hidden = true;
        } else if (o == "disabled") {
            c.disabled = true;
        } else if (o == "default") {
            allow(anyButton);
            c.isDefault = true;
        } else if (o == "group") {
            allow(k == ControlKind::kRadio);
            c.group = true;
        } else if (o == "multiline") {
            allow(textual);
            c.multiline = true;
        } else if (o == "readonly") {
            allow(textual);
            c.readOnly = true;
        } else if (o == "password") {
            allow(k == ControlKind::kEdit);
            c.password = true;
        } else if (o == "vscroll") {
            allow(textual || k == ControlKind::kListBox);
            c.vscroll = true;
        } else if (o == "multi") {
            allow(k == ControlKind::kListBox);
            c.multiSelect = true;
        } else if (o == "checks") {
            allow(k == ControlKind::kListBox || k == ControlKind::kListCtrl);
            c.checkBoxes = true;
        } else if (o == "column") {
            allow(k == ControlKind::kListCtrl);
            if (i + 2 >= words.size() || !words[i + 1].quoted) {
                failAt(lineNo, "column needs \"HEADER\" WIDTH [left|center|right]");
            }
            ColumnTemplate column;
            column.header = text(words[i + 1], lineNo);
            column.width = number(words[i + 2], 0, kMaxTemplateCoordinate, "the column width", lineNo);
            i += 3;
            if (i < words.size() && !words[i].quoted &&
                (words[i].text == "left" || words[i].text == "center" || words[i].text == "right")) {
                column.align = words[i].text == "left"     ? ColumnTemplate::Align::kLeft
                               : words[i].text == "center" ? ColumnTemplate::Align::kCenter
                                                           : ColumnTemplate::Align::kRight;
                ++i;
            }
            addItem(c.columns, std::move(column), lineNo);
            return i;
        } else if (o == "tab") {
            allow(k == ControlKind::kTabs);
            if (i + 1 >= words.size() || !words[i + 1].quoted) {
                failAt(lineNo, "tab needs \"CAPTION\"");
            }
            addItem(c.tabs, text(words[i + 1], lineNo), lineNo);
            return i + 2;
        } else if (o == "bitmaps") {
            allow(k == ControlKind::kHoverButton);
            if (i + 3 >= words.size()) {
                failAt(lineNo, "bitmaps needs three ids: NORMAL HOVER PRESSED");
            }
            for (std::size_t b = 0; b < 3; ++b) {
                c.bitmaps[b] = number(words[i + 1 + b], 0, 65535, "a bitmap id", lineNo);
            }
            return i + 4;
        } else {
            failAt(lineNo, "unknown option '" + o + "' for " + controlKindName(k));
        }
        return i + 1;
    }

    template <class T> static void addItem(std::vector<T>& items, T item, int lineNo) {
        if (items.size() >= kMaxTemplateItems) {
            failAt(lineNo, "more than " + std::to_string(kMaxTemplateItems) + " columns or tabs");
        }
        items.push_back(std::move(item));
    }

    static void once(bool& seen, const char* keyword, int lineNo) {
        if (seen) {
            failAt(lineNo, std::string("'") + keyword + "' is given twice");
        }
        seen = true;
    }

    static void expectCount(const std::vector<Token>& words, std::size_t least, std::size_t most, const char* form,
                            int lineNo) {
        if (words.size() < least || words.size() > most) {
            failAt(lineNo, std::string("expected '") + form + "'");
        }
    }

    static int number(const Token& word, int least, int most, const char* what, int lineNo) {
        const std::string& t = word.text;
        long long value = 0;
        const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), value);
        if (word.quoted || t.empty() || ec != std::errc{} || end != t.data() + t.size()) {
            failAt(lineNo, std::string(what) + " must be a number, not '" + t + "'");
        }
        if (value < least || value > most) {
            failAt(lineNo,
                   std::string(what) + " " + t + " is outside " + std::to_string(least) + ".." + std::to_string(most));
        }
        return static_cast<int>(value);
    }

    static CString text(const Token& word, int lineNo) {
        if (!word.quoted) {
            failAt(lineNo, "texts are quoted: \"" + word.text + "\"");
        }
        if (word.text.size() > kMaxTemplateTextBytes) {
            failAt(lineNo, "a text is longer than " + std::to_string(kMaxTemplateTextBytes) + " bytes");
        }
        return cp950::fromUtf8(word.text);
    }

    std::string_view m_text;
    DialogTemplate m_out;
    std::map<int, int> m_ids; // control id -> line
    bool m_haveDialog = false;
    bool m_haveCaption = false;
    bool m_haveSize = false;
    bool m_haveStyle = false;
    bool m_haveFont = false;
};

} // namespace

const char* controlKindName(ControlKind kind) {
    switch (kind) {
    case ControlKind::kButton:
        return "button";
    case ControlKind::kCheckBox:
        return "checkbox";
    case ControlKind::kRadio:
        return "radio";
    case ControlKind::kGroupBox:
        return "groupbox";
    case ControlKind::kEdit:
        return "edit";
    case ControlKind::kStatic:
        return "static";
    case ControlKind::kListBox:
        return "listbox";
    case ControlKind::kListCtrl:
        return "listctrl";
    case ControlKind::kTabs:
        return "tabs";
    case ControlKind::kRichEdit:
        return "richedit";
    case ControlKind::kHoverButton:
        return "hoverbutton";
    case ControlKind::kTree:
        return "tree";
    }
    return "?";
}

const ControlTemplate* DialogTemplate::control(int controlId) const {
    const auto it = std::find_if(controls.begin(), controls.end(),
                                 [controlId](const ControlTemplate& c) { return c.id == controlId; });
    return it == controls.end() ? nullptr : &*it;
}

bool parseDialogTemplate(std::string_view utf8Text, DialogTemplate& out, std::string& error) {
    try {
        DialogTemplate parsed = Parser(utf8Text).run();
        out = std::move(parsed);
        return true;
    } catch (const ParseFailure& failure) {
        error = failure.line > 0 ? "line " + std::to_string(failure.line) + ": " + failure.message : failure.message;
        return false;
    }
}

} // namespace host::ui
