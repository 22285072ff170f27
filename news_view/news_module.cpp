#include "news_view/news_module.h"

#include "host/framework/runtime_class.h"
#include "host/ui/registered_messages.h"
#include "news_view/news_ctrl_view.h"
#include "story/news_story_view.h"

void RegisterNewsModule() {
    RuntimeClassRegistry::instance().add(TRVNewsCtrlView::GetThisClass());
    RuntimeClassRegistry::instance().add(NewsStoryView::GetThisClass());
    // The symbol picker reports a chosen symbol to a search dialog with this message.
    host::ui::RegisterWindowMessageA("RVMSGCHANGESYMBOLBYSEARCH");
}
