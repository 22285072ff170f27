#pragma once

// Loads the news module into the host: registers its view classes by run-time class name
// and the window messages it shares with the host. Hosts call it once before creating views.
void RegisterNewsModule();
