/// The capabilities: a stored file that is edited in place, against Mini-XML alone.

#include "bench/device.h"
#include "bench/pairs.h"
#include "varn/varn.h"

#include <cstdio>
#include <cstdlib>
#include <mxml.h>

namespace varn::bench {
namespace {

constexpr double capabilities_target = 1.3;

bool get_capabilities(int32_t connection) {
    char *text = nullptr;
    uint32_t length = 0;
    eSCL_GetScanCapa(&text, &length, connection);
    free(text);
    return length > 0;
}

} // namespace

bool load_and_save(const std::string &path) {
    FILE *file = fopen(path.c_str(), "r");
    if (file == nullptr)
        return false;
    mxml_node_t *tree = mxmlLoadFile(nullptr, file, MXML_OPAQUE_CALLBACK);
    fclose(file);
    file = tree != nullptr ? fopen(path.c_str(), "w") : nullptr;
    bool done = false;
    if (file != nullptr) {
        done = mxmlSaveFile(tree, file, MXML_NO_CALLBACK) == 0;
        done = fclose(file) == 0 && done;
    }
    mxmlDelete(tree);
    return done;
}

void add_capabilities() {
    get_capabilities(0);
    put("/tmp/floor-capabilities", get("/web/eSCL/ScannerCapabilities"));
    const Work floor = [path = place("/tmp/floor-capabilities")] { return load_and_save(path); };
    add({"ScannerCapabilities", [] { return get_capabilities(0); }, floor, capabilities_target});
    // Every request finds the other's file.
    add({"ScannerCapabilities, HTTP and USB in turn",
         [connection = 0]() mutable {
             connection = connection == 0 ? -1 : 0;
             return get_capabilities(connection);
         },
         floor, capabilities_target});
}

} // namespace varn::bench
