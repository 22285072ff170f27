#include "host/ui/dialog_templates.h"

#include <fstream>
#include <sstream>

namespace host::ui {

DialogTemplateStore& DialogTemplateStore::instance() {
    static DialogTemplateStore store;
    return store;
}

void DialogTemplateStore::setDirectory(std::string directory) {
    m_directory = std::move(directory);
    m_parsed.clear();
}

const DialogTemplate* DialogTemplateStore::find(int id, std::string* error) {
    if (const auto it = m_parsed.find(id); it != m_parsed.end()) {
        return it->second.get();
    }
    const std::string name = std::to_string(id) + ".dlg";
    std::string text;
    bool found = false;
    if (!m_directory.empty()) {
        std::ifstream file(m_directory + "/" + name, std::ios::binary);
        if (file) {
            std::ostringstream content;
            content << file.rdbuf();
            text = content.str();
            found = true;
        }
    }
    if (!found) {
        for (const auto& [builtinId, builtinText] : builtinDialogTemplates()) {
            if (builtinId == id) {
                text = builtinText;
                found = true;
                break;
            }
        }
    }
    if (!found) {
        if (error != nullptr) {
            *error = name + ": no such dialog template";
        }
        return nullptr;
    }
    auto parsed = std::make_unique<DialogTemplate>();
    std::string problem;
    if (!parseDialogTemplate(text, *parsed, problem)) {
        if (error != nullptr) {
            *error = name + ": " + problem;
        }
        return nullptr;
    }
    if (parsed->id != id) {
        if (error != nullptr) {
            *error = name + ": the file declares dialog " + std::to_string(parsed->id);
        }
        return nullptr;
    }
    return m_parsed.emplace(id, std::move(parsed)).first->second.get();
}

} // namespace host::ui
