/// The library's speed: every piece of work beside the least that it can take, from one run.

#include "bench/device.h"
#include "bench/pairs.h"

#include <cstdio>
#include <unistd.h>

int main(int argc, char **argv) {
    if (argc > 2) {
        fprintf(stderr, "usage: library_bench [FILTER]\n");
        return 2;
    }
    FILE *table = fdopen(dup(STDOUT_FILENO), "w");
    // The library's log goes where a device's goes, into a stream that nobody waits for.
    if (table == nullptr || freopen("/dev/null", "w", stdout) == nullptr)
        return 1;
    const varn::bench::MemoryTree tree;
    if (!tree.ok()) {
        fprintf(stderr, "library_bench: no device tree on /dev/shm\n");
        return 1;
    }
    varn::bench::add_documents();
    varn::bench::add_capabilities();
    varn::bench::add_settings();
    varn::bench::add_tone_map();
    varn::bench::add_blocks();
    return varn::bench::run(argc == 2 ? argv[1] : nullptr, table) ? 0 : 1;
}
