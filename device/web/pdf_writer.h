/// A PDF document made of JPEG pages.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <vector>

namespace varn::web {

/// Pages go out as they are added, with their JPEG bytes as they are. Memory: the page being
/// added, and a few words for each that has gone out.
class PdfWriter {
public:
    /// Takes a piece of the document; false ends it.
    using Write = std::function<bool(std::span<const std::byte>)>;

    virtual ~PdfWriter() = default;
    /// The size of the page is that of the picture at its resolution.
    /// jpeg            whole picture; taken over
    /// dots_per_inch   when the picture does not tell its own
    /// returns         false for what is no JPEG, and when the document does not go out
    virtual bool add_page(std::vector<std::byte> jpeg, unsigned dots_per_inch) = 0;
    /// The end of the document. False when it did not all go out.
    virtual bool finish() = 0;
};

/// Writes PDF by the module lib/varn/pdf.so beside the program's folder, which the first call
/// loads. Null when it cannot be loaded; standard output says why.
std::unique_ptr<PdfWriter> make_pdf_writer(PdfWriter::Write write);

/// The module's one function, by name. The caller owns the writer.
inline constexpr char pdf_module_function[] = "varn_pdf_new_writer";
using NewPdfWriter = PdfWriter *(PdfWriter::Write write);

} // namespace varn::web
