/// Measurements in pairs: what the library takes, and the least that the same work can take.
#pragma once

#include <cstdio>
#include <functional>
#include <string>

namespace varn::bench {

/// Does the work once; false when it failed.
using Work = std::function<bool()>;

struct Pair {
    std::string name;
    Work ours;
    Work floor;
    double target = 0;  ///< largest ratio of ours to the floor; 0 when none is set
    int items = 1;      ///< what one piece of work is divided by in the table
    bool waits = false; ///< wall time tells, not that of the processor
};

/// Adds a pair to the run. Its order is that of the table.
void add(Pair pair);

/// Runs the pairs and prints the table to `out`. `filter` is a regular expression on names, or
/// null. Returns false when a piece of work failed or none was measured.
bool run(const char *filter, FILE *out);

/// Mini-XML's own loading and saving: no edit, no lock, no file put in another's place.
bool load_and_save(const std::string &path);

/// What each part measures.
void add_documents();
void add_capabilities();
void add_settings();
void add_tone_map();
void add_blocks();

} // namespace varn::bench
