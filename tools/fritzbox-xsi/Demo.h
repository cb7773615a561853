#pragma once
// The main job on its embedded default: the router simulator with the bundled sample data,
// started in this process, and the module run against it as the phone would run it.
#include <ostream>
#include <string>

namespace host {

struct DemoOptions {
    std::string dataDirectory = FRITZBOX_SAMPLE_DATA_DIR;
    std::string model = "tern";
};

// Narrates the run on `out` (documents included); module log lines go to stderr. True when both
// data sets were converted and the second round recognised the unchanged router.
bool runDemo(const DemoOptions& options, std::ostream& out, std::ostream& err);

}  // namespace host
