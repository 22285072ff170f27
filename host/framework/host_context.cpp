#include "host/framework/host_context.h"

namespace host {

HostContext& HostContext::current() {
    static HostContext context;
    return context;
}

} // namespace host
