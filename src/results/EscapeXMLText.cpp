#include "results/EscapeXMLText.h"

namespace kel {

std::string EscapeXMLText(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\'':
                escaped += "&apos;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '\0':
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

}  // namespace kel
