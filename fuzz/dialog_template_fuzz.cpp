// Dialog templates: any bytes either give a template or a refusal that names a line inside the
// text and leaves the template alone; a template that loads, written out again statement by
// statement, loads as the same template, and that text is a fixed point.
#include <cstdint>
#include <string>

#include "fuzz/fuzz_support.h"
#include "host/text/cp950.h"
#include "host/text/escape.h"
#include "host/ui/dialog_template.h"

using host::ui::ColumnTemplate;
using host::ui::ControlKind;
using host::ui::ControlTemplate;
using host::ui::DialogTemplate;

namespace {

// A code page 950 text as a quoted UTF-8 word with the escapes the reader knows.
std::string quoted(const CString& cp950Text) {
    std::string out = "\"";
    for (const char c : cp950::toUtf8(cp950Text)) {
        if (!text::appendBackslashEscape(out, c)) {
            out += c;
        }
    }
    return out + "\"";
}

std::string writeControl(const ControlTemplate& c) {
    std::string line = host::ui::controlKindName(c.kind);
    for (const int n : {c.id, c.rect.left, c.rect.top, c.rect.right - c.rect.left, c.rect.bottom - c.rect.top}) {
        line += ' ' + std::to_string(n);
    }
    if (!c.text.empty()) {
        line += ' ' + quoted(c.text);
    }
    const std::pair<bool, const char*> flags[] = {
        {c.hidden, "hidden"},       {c.disabled, "disabled"}, {c.isDefault, "default"}, {c.group, "group"},
        {c.multiline, "multiline"}, {c.readOnly, "readonly"}, {c.password, "password"}, {c.vscroll, "vscroll"},
        {c.multiSelect, "multi"},   {c.checkBoxes, "checks"},
    };
    for (const auto& [set, word] : flags) {
        if (set) {
            line += ' ';
            line += word;
        }
    }
    for (const ColumnTemplate& column : c.columns) {
        static constexpr const char* kAlign[] = {"left", "center", "right"};
        line += " column " + quoted(column.header) + ' ' + std::to_string(column.width) + ' ' +
                kAlign[static_cast<int>(column.align)];
    }
    for (const CString& tab : c.tabs) {
        line += " tab " + quoted(tab);
    }
    if (c.kind == ControlKind::kHoverButton) {
        line += " bitmaps";
        for (const int b : c.bitmaps) {
            line += ' ' + std::to_string(b);
        }
    }
    return line;
}

std::string write(const DialogTemplate& t) {
    std::string out = "dialog " + std::to_string(t.id) + '\n';
    if (!t.caption.empty()) {
        out += "caption " + quoted(t.caption) + '\n';
    }
    out += "size " + std::to_string(t.size.cx) + ' ' + std::to_string(t.size.cy) + '\n';
    out += t.frame == DialogTemplate::Frame::kBorderless ? "style borderless" : "style titled";
    out += t.resizable ? " resizable\n" : "\n";
    out += "font " + quoted(t.font.faceName) + ' ' + std::to_string(t.font.height) + '\n';
    for (const ControlTemplate& c : t.controls) {
        out += writeControl(c) + '\n';
    }
    return out;
}

// The template apart from where each control was declared.
DialogTemplate withoutLines(DialogTemplate t) {
    for (ControlTemplate& c : t.controls) {
        c.line = 0;
    }
    return t;
}

DialogTemplate sentinel() {
    DialogTemplate t;
    t.id = 4242;
    t.caption = "sentinel";
    t.controls.resize(1);
    return t;
}

// Lines as the reader numbers them: a byte order mark in front is not part of the first line,
// and a text that is only the mark has no lines.
std::size_t lineCount(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    std::size_t lines = 0;
    for (std::size_t at = 0; at < text.size(); ++lines) {
        const std::size_t eol = text.find('\n', at);
        at = eol == std::string_view::npos ? text.size() : eol + 1;
    }
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    DialogTemplate parsed = sentinel();
    std::string error;
    if (!host::ui::parseDialogTemplate(text, parsed, error)) {
        NEWS_FUZZ_CHECK(parsed == sentinel(), "a refused template changed the result: " + error);
        // Every refusal of a text with lines names one of them.
        if (lineCount(text) > 0) {
            NEWS_FUZZ_CHECK(error.starts_with("line "), fuzz::printable(error));
            const std::size_t colon = error.find(':');
            NEWS_FUZZ_CHECK(colon != std::string::npos, fuzz::printable(error));
            const std::string number = error.substr(5, colon - 5);
            const unsigned long line = number.empty() || number.size() > 9 ? 0 : std::stoul(number);
            NEWS_FUZZ_CHECK(line >= 1 && line <= lineCount(text), fuzz::printable(error));
        } else {
            NEWS_FUZZ_CHECK(!error.empty(), "an empty text refused without a reason");
        }
        return 0;
    }
    for (std::size_t i = 0; i < parsed.controls.size(); ++i) {
        const int line = parsed.controls[i].line;
        NEWS_FUZZ_CHECK(line >= 1 && static_cast<std::size_t>(line) <= lineCount(text), std::to_string(line));
        NEWS_FUZZ_CHECK(i == 0 || line > parsed.controls[i - 1].line, "controls out of line order");
    }

    const std::string written = write(parsed);
    DialogTemplate again = sentinel();
    NEWS_FUZZ_CHECK(host::ui::parseDialogTemplate(written, again, error),
                    "refused its own text: " + error + "\n" + fuzz::printable(written));
    NEWS_FUZZ_CHECK(withoutLines(again) == withoutLines(parsed), "read back differently: " + fuzz::printable(written));
    NEWS_FUZZ_CHECK(write(again) == written, "not a fixed point: " + fuzz::printable(written));
    return 0;
}
