#include "xpath/error.h"

namespace quillmark::xpath {

std::string_view errorCodeName(ErrorCode code) {
    switch (code) {
    case ErrorCode::XPST0003: return "XPST0003";
    case ErrorCode::XPST0008: return "XPST0008";
    case ErrorCode::XPST0010: return "XPST0010";
    case ErrorCode::XPST0017: return "XPST0017";
    case ErrorCode::XPST0051: return "XPST0051";
    case ErrorCode::XPST0080: return "XPST0080";
    case ErrorCode::XPST0081: return "XPST0081";
    case ErrorCode::XPDY0002: return "XPDY0002";
    case ErrorCode::XPDY0050: return "XPDY0050";
    case ErrorCode::XPDY0130: return "XPDY0130";
    case ErrorCode::XPTY0004: return "XPTY0004";
    case ErrorCode::XPTY0018: return "XPTY0018";
    case ErrorCode::XPTY0019: return "XPTY0019";
    case ErrorCode::XPTY0020: return "XPTY0020";
    case ErrorCode::FOAR0001: return "FOAR0001";
    case ErrorCode::FOAR0002: return "FOAR0002";
    case ErrorCode::FOCA0001: return "FOCA0001";
    case ErrorCode::FOCA0002: return "FOCA0002";
    case ErrorCode::FOCA0003: return "FOCA0003";
    case ErrorCode::FOCA0005: return "FOCA0005";
    case ErrorCode::FOCA0006: return "FOCA0006";
    case ErrorCode::FOCH0001: return "FOCH0001";
    case ErrorCode::FOCH0002: return "FOCH0002";
    case ErrorCode::FOCH0003: return "FOCH0003";
    case ErrorCode::FOCH0004: return "FOCH0004";
    case ErrorCode::FODC0001: return "FODC0001";
    case ErrorCode::FODC0002: return "FODC0002";
    case ErrorCode::FODT0001: return "FODT0001";
    case ErrorCode::FODT0002: return "FODT0002";
    case ErrorCode::FODT0003: return "FODT0003";
    case ErrorCode::FOER0000: return "FOER0000";
    case ErrorCode::FONS0004: return "FONS0004";
    case ErrorCode::FORG0001: return "FORG0001";
    case ErrorCode::FORG0003: return "FORG0003";
    case ErrorCode::FORG0004: return "FORG0004";
    case ErrorCode::FORG0005: return "FORG0005";
    case ErrorCode::FORG0006: return "FORG0006";
    case ErrorCode::FORG0008: return "FORG0008";
    case ErrorCode::FORX0001: return "FORX0001";
    case ErrorCode::FORX0002: return "FORX0002";
    case ErrorCode::FORX0003: return "FORX0003";
    case ErrorCode::FORX0004: return "FORX0004";
    case ErrorCode::FOTY0012: return "FOTY0012";
    case ErrorCode::UserDefined: return "";
    case ErrorCode::QMXP0001: return "QMXP0001";
    }
    return "";
}

bool isStaticError(ErrorCode code) {
    const std::string_view name = errorCodeName(code);
    return name.starts_with("XPST");
}

XPathError::XPathError(ErrorCode code, std::string message)
    : std::runtime_error(std::string(errorCodeName(code)) + ": " + message),
      code_(code),
      codeText_(errorCodeName(code)),
      description_(std::move(message)) {}

XPathError::XPathError(std::string userCode, std::string message)
    : std::runtime_error(userCode + ": " + message),
      code_(ErrorCode::UserDefined),
      codeText_(std::move(userCode)),
      description_(std::move(message)) {}

}  // namespace quillmark::xpath
