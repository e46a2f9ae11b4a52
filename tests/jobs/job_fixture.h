/// A queue as a new process has it, in a device tree without a job list.
#pragma once

#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "varn/varn.h"

#include <string>
#include <vector>

namespace varn::test {

class JobTest : public DeviceTest {
protected:
    static constexpr char list_file[] = "tmp/xml_tickets/Jobs/JobsList.xml";

    JobTest();
    /// The list, after plain Mini-XML and the library's own loader have both taken it.
    std::string list() const;
    std::vector<std::string> urls() const { return texts(list(), "j:JobUrl"); }
    static void set_jobs(int count);
    static std::string url(int id) { return "/Jobs/JobList/" + std::to_string(id); }
};

/// The texts of a job document's six elements in their order, with blanks between.
std::string job_line(const std::string &document);

} // namespace varn::test
