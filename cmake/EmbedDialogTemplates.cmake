# Writes OUTPUT, a C++ source that holds every resources/dialogs/ID.dlg file given in FILES
# (a ;-list) as bytes, so that the program finds its dialog templates wherever it runs.
set(body "")
set(entries "")
set(index 0)
foreach(file IN LISTS FILES)
  get_filename_component(name ${file} NAME_WE)
  if(NOT name MATCHES "^[0-9]+$")
    message(FATAL_ERROR "${file}: a dialog template is named after its dialog id (8065.dlg)")
  endif()
  file(READ ${file} hex HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${hex}")
  string(APPEND body "constexpr char kTemplate${index}[] = {${bytes}};\n")
  string(APPEND entries "        {${name}, std::string_view(kTemplate${index}, sizeof kTemplate${index})},\n")
  math(EXPR index "${index} + 1")
endforeach()
file(WRITE ${OUTPUT}.tmp "// Generated from resources/dialogs by cmake/EmbedDialogTemplates.cmake; do not edit.
#include \"host/ui/dialog_templates.h\"

namespace host::ui {

namespace {
${body}} // namespace

const std::vector<std::pair<int, std::string_view>>& builtinDialogTemplates() {
    static const std::vector<std::pair<int, std::string_view>> templates = {
${entries}    };
    return templates;
}

} // namespace host::ui
")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
