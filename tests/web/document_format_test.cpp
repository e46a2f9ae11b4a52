#include "device/web/document_format.h"

#include <gtest/gtest.h>

namespace varn::web {
namespace {

struct Row {
    const char *children; ///< of the settings' root
    DocumentFormat format;
};
constexpr Row rows[] = {
    {"", DocumentFormat::jpeg},
    {"<a:DocumentFormat>application/pdf</a:DocumentFormat>", DocumentFormat::pdf},
    {"<a:DocumentFormat>image/tiff</a:DocumentFormat>", DocumentFormat::jpeg},
    {"<DocumentFormatExt>image/tiff</DocumentFormatExt>", DocumentFormat::tiff},
    {"<a:DocumentFormat>application/pdf</a:DocumentFormat>"
     "<b:DocumentFormatExt>application/octet-&#115;tream</b:DocumentFormatExt>",
     DocumentFormat::raw},
    {"<b:DocumentFormatExt>image/png</b:DocumentFormatExt>", DocumentFormat::jpeg},
    {"<b:DocumentFormatExt>image/png</b:DocumentFormatExt>"
     "<b:DocumentFormatExt>image/tiff</b:DocumentFormatExt>",
     DocumentFormat::tiff},
    {"<x><a:DocumentFormat>application/pdf</a:DocumentFormat></x>", DocumentFormat::jpeg},
    {"<b:DocumentFormatExt>image/tiff</b:DocumentFormatExt><broken", DocumentFormat::tiff},
};

TEST(DocumentFormat, IsTheOneThatTheSettingsAskFor) {
    for (const Row &row : rows)
        EXPECT_EQ(requested_format(std::string("<s>") + row.children + "</s>"), row.format)
            << row.children;
    EXPECT_EQ(requested_format(""), DocumentFormat::jpeg);
}

} // namespace
} // namespace varn::web
