#include "device/web/device_tree.h"
#include "device/web/pdf_writer.h"

#include <cstdio>
#include <dlfcn.h>

namespace varn::web {
namespace {

NewPdfWriter *load() {
    const std::string path = program_directory().parent_path() / "lib/varn/pdf.so";
    void *module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL); // stays for good
    void *function = module ? dlsym(module, pdf_module_function) : nullptr;
    if (!function) {
        const char *reason = dlerror();
        std::printf("no PDF: %s\n", reason ? reason : path.c_str());
    }
    return reinterpret_cast<NewPdfWriter *>(function);
}

} // namespace

std::unique_ptr<PdfWriter> make_pdf_writer(PdfWriter::Write write) {
    static NewPdfWriter *const new_writer = load();
    return std::unique_ptr<PdfWriter>(new_writer ? new_writer(std::move(write)) : nullptr);
}

} // namespace varn::web
