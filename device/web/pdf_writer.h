/// A PDF document made of JPEG pages.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

struct _cairo_surface;

namespace varn::web {

/// Pages go out as they are added, with their JPEG bytes as they are. Memory: the page being
/// added, and a few words for each that has gone out.
class PdfWriter {
public:
    /// Takes a piece of the document; false ends it.
    using Write = std::function<bool(std::span<const std::byte>)>;

    explicit PdfWriter(Write write);
    ~PdfWriter();
    PdfWriter(const PdfWriter &) = delete;
    PdfWriter &operator=(const PdfWriter &) = delete;

    /// The size of the page is that of the picture at its resolution.
    /// jpeg            whole picture; taken over
    /// dots_per_inch   when the picture does not tell its own
    /// returns         false for what is no JPEG, and when the document does not go out
    bool add_page(std::vector<std::byte> jpeg, unsigned dots_per_inch);
    /// The end of the document. False when it did not all go out.
    bool finish();

private:
    static int take(void *self, const unsigned char *data, unsigned length);

    Write write_;
    _cairo_surface *surface_;
};

} // namespace varn::web
