#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/ui/dialog_template.h"

namespace host::ui {

// The dialog templates of the process, by dialog id. Each template is a file "ID.dlg" under
// resources/dialogs; every such file is also built into the program, so a host finds its
// dialogs wherever it runs. A host that ships the resources folder names it with
// setDirectory: a file there takes precedence over the built-in copy (an edited template
// shows without a rebuild).
// Thread: UI thread. Ownership: the store owns the parsed templates for the process's life.
class DialogTemplateStore {
public:
    static DialogTemplateStore& instance();

    // The folder that holds "ID.dlg" files; empty: the built-in templates only.
    void setDirectory(std::string directory);
    const std::string& directory() const { return m_directory; }

    // The template of a dialog, or null with the reason in error ("8065.dlg: line 3: ...")
    // when there is none or it is malformed.
    const DialogTemplate* find(int id, std::string* error = nullptr);
    // Forgets parsed templates, so that the next find reads them again.
    void clear() { m_parsed.clear(); }

private:
    std::string m_directory;
    std::map<int, std::unique_ptr<DialogTemplate>> m_parsed;
};

// The templates built into the program: (dialog id, UTF-8 text), generated from
// resources/dialogs/*.dlg when the program is built.
const std::vector<std::pair<int, std::string_view>>& builtinDialogTemplates();

} // namespace host::ui
