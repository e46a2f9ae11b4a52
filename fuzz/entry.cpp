// One libFuzzer program for each target.
#include "fuzz/device.h"
#include "fuzz/targets.h"

/// A scan sets a handler of its own for a crash, which would end the program without a finding.
extern "C" const char *__asan_default_options() { return "handle_segv=2"; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const varn::fuzz::Target *const target = varn::fuzz::find_target(VARN_FUZZ_TARGET);
    varn::fuzz::device().begin();
    target->take({data, size});
    return 0;
}
