#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <string>

#include "apps/newsview-script/probe_view.h"
#include "apps/newsview-script/scenario_runner.h"
#include "host/framework/runtime_class.h"
#include "news_view/news_module.h"

namespace {

void usage() {
    std::cerr << "usage: newsview-script [--self-test] [--resources DIR] [--work DIR] [--keep] SCRIPT.nvs\n"
                 "  --self-test      also register the probe view CScenarioProbeView\n"
                 "  --resources DIR  where language and INI files named by the script are found\n"
                 "  --work DIR       keep the run's system and output folders in DIR\n"
                 "  --keep           keep the temporary work folder and print its path\n"
                 "Exit status: 0 all expectations held, 1 a failure, 2 a script error.\n";
}

// Scenario times are Taipei times; a run outside that zone must show the same clock.
void pinTimeZone() {
    if (std::getenv("TZ") != nullptr) {
        return;
    }
#ifdef _WIN32
    _putenv_s("TZ", "CST-8");
    _tzset();
#else
    setenv("TZ", "Asia/Taipei", 1);
    tzset();
#endif
}

} // namespace

int main(int argc, char** argv) {
    scenario::RunnerOptions options;
    if (const char* source = std::getenv("NEWS_SOURCE_DIR")) {
        options.resourcesDir = std::filesystem::path(source) / "resources";
    } else {
        options.resourcesDir = NEWS_RESOURCES_DIR;
    }
    bool selfTest = false;
    std::string script;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--self-test") {
            selfTest = true;
        } else if (arg == "--keep") {
            options.keepWork = true;
        } else if ((arg == "--resources" || arg == "--work") && i + 1 < argc) {
            (arg == "--work" ? options.workDir : options.resourcesDir) = argv[++i];
        } else if (arg == "--help" || arg == "-h") {
            usage();
            return 0;
        } else if (script.empty() && !arg.empty() && arg[0] != '-') {
            script = arg;
        } else {
            usage();
            return 2;
        }
    }
    if (script.empty()) {
        usage();
        return 2;
    }
    pinTimeZone();
    RegisterNewsModule();
    if (selfTest) {
        RuntimeClassRegistry::instance().add(CScenarioProbeView::GetThisClass());
    }
    int status = 0;
    {
        scenario::ScenarioRunner runner(options, std::cout, std::cerr);
        status = runner.runFile(script);
    }
    return status;
}
