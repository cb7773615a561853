#pragma once
// The main job on its default: the router simulator program (installed beside this one) with the
// bundled sample data as a child process, and the module run against it as the phone would.
#include <ostream>
#include <string>

namespace host {

struct DemoOptions {
    std::string dataDirectory;  // empty: the simulator's bundled sample
    std::string model = "tern";
};

// Narrates the run on `out` (documents included); module log lines go to stderr. True when both
// data sets were converted, every picture the directory names was on disk while the module object
// lived and gone after it, and the second round recognised the unchanged router.
bool runDemo(const DemoOptions& options, std::ostream& out, std::ostream& err);

}  // namespace host
