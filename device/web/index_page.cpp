#include "device/web/handlers.h"

#include "device/web/resource_map.h"

namespace varn::web {

Response index_page(Device &, const Request &) {
    Response response;
    response.content_type = "text/html; charset=utf-8";
    std::string &page = response.text;
    page = "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>Scanner</title>"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
           "<link rel=\"stylesheet\" href=\"/admin.css\"></head>\n"
           "<body><h1>Documents of the scanner</h1>\n<table>\n"
           "<tr><th>Method</th><th>Resource</th><th>Function</th></tr>\n";
    for (const Resource &row : resource_map()) {
        const bool fixed = row.path.find('{') == std::string_view::npos;
        const bool link = row.method == Method::get && fixed;
        page.append("<tr><td>").append(method_name(row.method)).append("</td><td>");
        if (link)
            page.append("<a href=\"").append(row.path).append("\">");
        page.append("<code>").append(row.path).append("</code>");
        if (link)
            page.append("</a>");
        page.append("</td><td><code>").append(row.function).append("</code></td></tr>\n");
    }
    page += "</table></body></html>\n";
    return response;
}

} // namespace varn::web
