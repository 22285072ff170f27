#include <random>
#include <string>

#include <gtest/gtest.h>

#include "host/text/cp950.h"
#include "host/ui/dialog_template.h"
#include "host/ui/dialog_templates.h"

namespace {

using host::ui::ControlKind;
using host::ui::DialogTemplate;

// Parses text that must be valid.
DialogTemplate parsed(const std::string& text) {
    DialogTemplate out;
    std::string error;
    EXPECT_TRUE(host::ui::parseDialogTemplate(text, out, error)) << error;
    return out;
}

// The error a malformed text gives; the template handed in must stay untouched.
std::string errorOf(const std::string& text) {
    DialogTemplate out;
    out.id = 4242;
    std::string error;
    EXPECT_FALSE(host::ui::parseDialogTemplate(text, out, error)) << text;
    EXPECT_EQ(out.id, 4242) << "a failed parse changed the template";
    return error;
}

TEST(DialogTemplateTest, EveryControlKindWithItsOptions) {
    const DialogTemplate t = parsed("\xEF\xBB\xBF# a dialog of every kind\r\n"
                                    "dialog 2013\n"
                                    "caption \"IDS_DIALOG-DEAL-SEARCH_TITLE\"\n"
                                    "size 400 300\n"
                                    "style titled resizable\n"
                                    "font \"Noto Sans CJK TC\" -13\n"
                                    "\n"
                                    "  button 1 300 260 80 24 \"確定\" default\n"
                                    "button 2 210 260 80 24 \"IDS_CANCEL\" hidden disabled\n"
                                    "checkbox 2061 10 10 100 20 \"標題\"\n"
                                    "radio 2062 10 40 60 20 \"且\" group\n"
                                    "radio 2063 80 40 60 20 \"或\"\n"
                                    "groupbox -1 5 5 200 80 \"範圍\"\n"
                                    "edit 2070 10 70 120 22 password\n"
                                    "edit 2071 10 100 200 60 multiline readonly vscroll\n"
                                    "static -1 10 170 80 20 \"\\\"quoted\\\" \\\\ text\"\n"
                                    "listbox 2080 220 10 160 100 multi checks vscroll\n"
                                    "listctrl 2090 220 120 160 100 checks column \"IDS_A\" 80 column \"B\" 60 right\n"
                                    "tabs 2100 0 0 400 24 tab \"一\" tab \"二\"\n"
                                    "richedit 2110 10 200 200 50 readonly\n"
                                    "hoverbutton 2120 10 260 24 24 bitmaps 301 302 303\n");
    EXPECT_EQ(t.id, 2013);
    EXPECT_EQ(t.caption, "IDS_DIALOG-DEAL-SEARCH_TITLE");
    EXPECT_EQ(t.size, (host::ui::Size{400, 300}));
    EXPECT_TRUE(t.resizable);
    EXPECT_EQ(t.frame, DialogTemplate::Frame::kTitled);
    EXPECT_EQ(t.font.height, -13);
    ASSERT_EQ(t.controls.size(), 14u);

    const auto& ok = t.controls[0];
    EXPECT_EQ(ok.kind, ControlKind::kButton);
    EXPECT_EQ(ok.rect, (host::ui::Rect{300, 260, 380, 284}));
    EXPECT_EQ(ok.text, cp950::fromUtf8("確定")) << "texts are kept as code page 950";
    EXPECT_TRUE(ok.isDefault);
    EXPECT_EQ(ok.line, 8);
    EXPECT_TRUE(t.controls[1].hidden && t.controls[1].disabled);
    EXPECT_TRUE(t.control(2062)->group);
    EXPECT_FALSE(t.control(2063)->group);
    EXPECT_EQ(t.controls[5].id, -1);
    EXPECT_TRUE(t.control(2070)->password);
    EXPECT_TRUE(t.control(2071)->multiline && t.control(2071)->readOnly && t.control(2071)->vscroll);
    EXPECT_EQ(t.controls[8].text, "\"quoted\" \\ text");
    EXPECT_TRUE(t.control(2080)->multiSelect && t.control(2080)->checkBoxes);
    const auto& list = *t.control(2090);
    ASSERT_EQ(list.columns.size(), 2u);
    EXPECT_EQ(list.columns[1].width, 60);
    EXPECT_EQ(list.columns[1].align, host::ui::ColumnTemplate::Align::kRight);
    EXPECT_EQ(t.control(2100)->tabs.size(), 2u);
    EXPECT_TRUE(t.control(2110)->multiline) << "a rich edit is always multi-line";
    EXPECT_EQ(t.control(2120)->bitmaps, (std::array<int, 3>{301, 302, 303}));
}

TEST(DialogTemplateTest, MalformedFilesAreRefusedWithTheirLine) {
    const std::string head = "dialog 1\nsize 10 10\n";
    const struct {
        std::string text;
        std::string expected;
    } cases[] = {
        {"", "no 'dialog ID' line"},
        {"size 10 10\n", "line 1: the first line must be 'dialog ID'"},
        {"dialog 1\n", "no 'size WIDTH HEIGHT' line"},
        {"dialog 1\ndialog 2\n", "line 2: 'dialog' is given twice"},
        {"dialog 1 2\n", "line 1: expected 'dialog ID'"},
        {"dialog 70000\n", "line 1: the dialog id 70000 is outside 0..65535"},
        {head + "buton 1 0 0 1 1\n", "line 3: unknown keyword 'buton'"},
        {head + "button 1 0 0 1\n", "line 3: button needs: ID X Y WIDTH HEIGHT"},
        {head + "button x 0 0 1 1\n", "line 3: the control id must be a number, not 'x'"},
        {head + "button 1 0 0 -5 1\n", "line 3: the width -5 is outside 0..10000"},
        {head + "button 7 0 0 1 1\nstatic 7 0 0 1 1\n", "line 4: control id 7 is already used on line 3"},
        {head + "button 1 0 0 1 1 \"open\n", "line 3: a quoted text is not closed"},
        {head + "button 1 0 0 1 1 \"a\\q\"\n", "line 3: unknown escape \\q"},
        {head + "button 1 0 0 1 1 multi\n", "line 3: option 'multi' does not apply to button"},
        {head + "edit 1 0 0 1 1 default\n", "line 3: option 'default' does not apply to edit"},
        {head + "edit 1 0 0 1 1 \"x\" \"y\"\n", "line 3: a text must come right after the size"},
        {head + "listctrl 1 0 0 1 1 column \"a\"\n", "line 3: column needs"},
        {head + "hoverbutton 1 0 0 1 1 bitmaps 1 2\n", "line 3: bitmaps needs three ids"},
        {head + "style titled borderless\n", "line 3: a dialog cannot be both titled and borderless"},
        {head + "static 1 0 0 1 1 \"\xFF\xFE\"\n", "line 3: the line is not valid UTF-8"},
        {head + "static 1 0 0 1 1 \"\xC0\xAF\"\n", "line 3: the line is not valid UTF-8"},
        {head + "static 1 0 0 1 1 \"\xED\xA0\x80\"\n", "line 3: the line is not valid UTF-8"}, // a surrogate
        {head + "static 1 0 0 1 1 \"a\x01\"\n", "line 3: the line holds a control character"},
        {head + "font \"\" 12\n", "line 3: a font needs a face name"},
        {head + "button 1 0 0 1 1 99999999999999999999\n", "line 3: unknown option"},
    };
    for (const auto& c : cases) {
        const std::string error = errorOf(c.text);
        EXPECT_NE(error.find(c.expected), std::string::npos) << "for:\n" << c.text << "\ngot: " << error;
    }
}

TEST(DialogTemplateTest, LimitsKeepDamagedFilesSmall) {
    std::string many = "dialog 1\nsize 10 10\n";
    for (std::size_t i = 0; i <= host::ui::kMaxTemplateControls; ++i) {
        many += "static " + std::to_string(i) + " 0 0 1 1\n";
    }
    EXPECT_NE(errorOf(many).find("more than 512 controls"), std::string::npos);
    EXPECT_NE(errorOf(std::string(host::ui::kMaxTemplateBytes + 1, '#')).find("larger than"), std::string::npos);
    EXPECT_NE(errorOf("dialog 1\nsize 10 10\nstatic 1 0 0 1 1 \"" + std::string(2000, 'a') + "\"\n")
                  .find("longer than 1024 bytes"),
              std::string::npos);
}

TEST(DialogTemplateTest, RandomBytesNeverCrashTheParser) {
    // Mutations of a valid template: every outcome is a template or a line-numbered error.
    const std::string valid = "dialog 5\ncaption \"t\"\nsize 50 50\nbutton 1 0 0 10 10 \"a\" default\n"
                              "listctrl 2 0 0 10 10 column \"h\" 5 center\n";
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string text = valid;
        const int edits = 1 + static_cast<int>(random() % 4);
        for (int e = 0; e < edits; ++e) {
            const std::size_t at = random() % (text.size() + 1);
            text.insert(at, 1, static_cast<char>(random() % 256));
        }
        DialogTemplate out;
        std::string error;
        if (!host::ui::parseDialogTemplate(text, out, error)) {
            EXPECT_FALSE(error.empty());
        }
    }
}

TEST(DialogTemplateTest, TheBuiltInTemplatesOfTheModuleParse) {
    // Every template in resources/dialogs is built into the program and must be well formed.
    ASSERT_FALSE(host::ui::builtinDialogTemplates().empty());
    for (const auto& [id, text] : host::ui::builtinDialogTemplates()) {
        DialogTemplate t;
        std::string error;
        EXPECT_TRUE(host::ui::parseDialogTemplate(text, t, error)) << id << ".dlg: " << error;
        EXPECT_EQ(t.id, id) << "a template is named after its dialog id";
    }
    std::string error;
    const DialogTemplate* story = host::ui::DialogTemplateStore::instance().find(8065, &error);
    ASSERT_NE(story, nullptr) << error;
    for (const int id : {8066, 8067, 8068, 8069, 8070}) {
        EXPECT_NE(story->control(id), nullptr) << id;
    }
    const DialogTemplate* tip = host::ui::DialogTemplateStore::instance().find(3059, &error);
    ASSERT_NE(tip, nullptr) << error;
    EXPECT_EQ(tip->frame, DialogTemplate::Frame::kBorderless);
    EXPECT_NE(tip->control(2349), nullptr);
    EXPECT_EQ(host::ui::DialogTemplateStore::instance().find(1, &error), nullptr);
    EXPECT_EQ(error, "1.dlg: no such dialog template");
}

} // namespace
