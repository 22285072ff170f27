#include "news_view/news_module.h"

#include "host/ui/registered_messages.h"

void RegisterNewsModule() {
    // The symbol picker reports a chosen symbol to a search dialog with this message.
    host::ui::RegisterWindowMessageA("RVMSGCHANGESYMBOLBYSEARCH");
}
