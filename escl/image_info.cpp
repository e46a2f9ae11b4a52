/// What the last scanned image turned out to be.

#include "escl/scan_words.h"
#include "frame/document.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

constexpr char ticket[] = "/tmp/xml_tickets/eSCL/ScanImageInfo.xml";

constexpr char form[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
    "<scan:ScanImageInfo xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\""
    " xmlns:scan=\"http://" VARN_SCHEMA_HOST_B "/imaging/escl/2011/05/03\""
    " xmlns:pwg=\"http://www.pwg.org/schemas/2010/12/sm\">\r\n"
    "<pwg:JobUri>/eSCL/ScanJobs/%s</pwg:JobUri>\r\n"
    "<pwg:JobUuid>%s</pwg:JobUuid>\r\n"
    "<scan:ActualWidth>%d</scan:ActualWidth>\r\n"
    "<scan:ActualHeight>%d</scan:ActualHeight>\r\n"
    "<scan:ActualBytesPerLine>%d</scan:ActualBytesPerLine>\r\n"
    "<scan:AutoCropApplied>%s</scan:AutoCropApplied>\r\n"
    "<scan:AutoExposureApplied>%s</scan:AutoExposureApplied>\r\n"
    "<scan:BlankPageDetected>%s</scan:BlankPageDetected>\r\n"
    "<scan:ColorDetected>%s</scan:ColorDetected>\r\n"
    "<scan:MultipickDetected>%s</scan:MultipickDetected>\r\n"
    "</scan:ScanImageInfo>\r\n";

const char *word(bool value) { return value ? "true" : "false"; }

/// Leaves out what would not be text in a document.
void copy_identifier(char (&dst)[40], const char (&src)[40]) {
    size_t used = 0;
    for (size_t i = 0; i < sizeof src - 1 && src[i] != '\0'; ++i)
        if (static_cast<unsigned char>(src[i]) >= ' ' && strchr("<>&\"", src[i]) == nullptr)
            dst[used++] = src[i];
    dst[used] = '\0';
}

} // namespace

int32_t eSCL_GetScanImageInfo(varn_scan_image_info *record) {
    if (record == nullptr)
        return -1;
    char uuid[40];
    copy_identifier(uuid, record->uuid);
    char document[2048];
    const bool exposed = varn::load_word(AUTO_THRESHOLD_flg) == 1 && record->byColorDetected == 0;
    const int length =
        snprintf(document, sizeof document, form, uuid, uuid, static_cast<int>(record->width),
                 static_cast<int>(record->height), static_cast<int>(record->bytes_per_line),
                 word((record->wCropBlank & 0xFF) != 0), word(exposed),
                 word((record->wCropBlank >> 8 & 0xFF) != 0), word(record->byColorDetected != 0),
                 word(record->byDataCheck != 0));
    {
        const varn::UniqueFd file(varn::open_ticket(ticket, 0666));
        if (!file.ok() || write(file.get(), document, static_cast<size_t>(length)) != length)
            return -1;
    }
    return common_read_file_data(ticket, record->out_buf, record->out_len);
}
