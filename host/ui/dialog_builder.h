#pragma once

#include "host/ui/dialog_template.h"
#include "host/ui/window.h"

namespace host::ui {

// Creates the controls of a template in a dialog window, in template order, through the
// window's ordinary control creation: so a dialog's controls are the same controls, with the
// same ids, in every host. Check boxes tick themselves; radio buttons are left to the dialog,
// which keeps one of each group checked. Hosts call it from UiHost::createDialog.
void buildDialogControls(Window& dialog, const DialogTemplate& dialogTemplate);

} // namespace host::ui
