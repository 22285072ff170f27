#include "host/backend/bk_quote_interface.h"

namespace {
BKQuoteInterface* g_instance = nullptr;
}

BKQuoteInterface* BKQuoteInterface::GetBKInterface() {
    return g_instance;
}

void BKQuoteInterface::SetBKInterface(BKQuoteInterface* instance) {
    g_instance = instance;
}
