#include "host/ui/dialog_builder.h"

#include "host/ui/controls.h"

namespace host::ui {

namespace {

unsigned buttonStyle(const ControlTemplate& c) {
    switch (c.kind) {
    case ControlKind::kCheckBox:
        return win::BS_AUTOCHECKBOX;
    case ControlKind::kRadio:
        return win::BS_RADIOBUTTON | (c.group ? win::WS_GROUP : 0u);
    case ControlKind::kGroupBox:
        return win::BS_GROUPBOX;
    case ControlKind::kHoverButton:
        return win::BS_OWNERDRAW | (c.isDefault ? win::BS_DEFPUSHBUTTON : 0u);
    default:
        return c.isDefault ? win::BS_DEFPUSHBUTTON : win::BS_PUSHBUTTON;
    }
}

unsigned editStyle(const ControlTemplate& c) {
    unsigned style = 0;
    if (c.multiline) {
        style |= win::ES_MULTILINE | win::ES_AUTOVSCROLL;
    }
    if (c.readOnly) {
        style |= win::ES_READONLY;
    }
    if (c.password) {
        style |= win::ES_PASSWORD;
    }
    if (c.vscroll) {
        style |= win::WS_VSCROLL;
    }
    return style;
}

ListCtrl::Align listAlign(ColumnTemplate::Align align) {
    switch (align) {
    case ColumnTemplate::Align::kCenter:
        return ListCtrl::Align::kCenter;
    case ColumnTemplate::Align::kRight:
        return ListCtrl::Align::kRight;
    default:
        return ListCtrl::Align::kLeft;
    }
}

Window* createControl(Window& dialog, const ControlTemplate& c) {
    switch (c.kind) {
    case ControlKind::kButton:
    case ControlKind::kCheckBox:
    case ControlKind::kRadio:
    case ControlKind::kGroupBox:
    case ControlKind::kHoverButton: {
        Button* button = dialog.createButton(c.id, c.rect, c.text, buttonStyle(c));
        if (button != nullptr) {
            if (c.isDefault) {
                button->setDefault(true);
            }
            if (c.kind == ControlKind::kHoverButton) {
                button->setBitmaps(c.bitmaps[0], c.bitmaps[1], c.bitmaps[2]);
            }
        }
        return button;
    }
    case ControlKind::kEdit: {
        Edit* edit = dialog.createEdit(c.id, c.rect, editStyle(c));
        if (edit != nullptr && !c.text.empty()) {
            edit->setText(c.text);
        }
        return edit;
    }
    case ControlKind::kStatic:
        return dialog.createStatic(c.id, c.rect, c.text);
    case ControlKind::kListBox:
        return dialog.createListBox(c.id, c.rect, c.multiSelect, c.checkBoxes);
    case ControlKind::kListCtrl: {
        ListCtrl* list = dialog.createListCtrl(c.id, c.rect, c.checkBoxes);
        for (std::size_t i = 0; list != nullptr && i < c.columns.size(); ++i) {
            list->insertColumn(static_cast<int>(i), c.columns[i].header, c.columns[i].width,
                               listAlign(c.columns[i].align));
        }
        return list;
    }
    case ControlKind::kTabs: {
        TabStrip* tabs = dialog.createTabStrip(c.id, c.rect);
        for (std::size_t i = 0; tabs != nullptr && i < c.tabs.size(); ++i) {
            tabs->insertItem(static_cast<int>(i), c.tabs[i], static_cast<std::intptr_t>(i));
        }
        return tabs;
    }
    case ControlKind::kTree:
        return dialog.createTreeCtrl(c.id, c.rect);
    case ControlKind::kRichEdit: {
        RichEdit* rich = dialog.createRichEdit(c.id, c.rect, editStyle(c) | win::ES_MULTILINE);
        if (rich != nullptr && !c.text.empty()) {
            rich->setText(c.text);
        }
        return rich;
    }
    }
    return nullptr;
}

} // namespace

void buildDialogControls(Window& dialog, const DialogTemplate& dialogTemplate) {
    for (const ControlTemplate& c : dialogTemplate.controls) {
        Window* control = createControl(dialog, c);
        if (control == nullptr) {
            continue;
        }
        control->setFont(dialogTemplate.font, false);
        if (c.hidden) {
            control->show(false);
        }
        if (c.disabled) {
            control->enable(false);
        }
    }
}

} // namespace host::ui
