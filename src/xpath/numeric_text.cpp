#include "xpath/numeric_text.h"

// Stub bodies: the interface is fixed first so that other parts can compile against it.
namespace quillmark::xpath {

std::string formatDouble(double) { return "0"; }
std::string formatFloat(float) { return "0"; }
std::optional<double> parseDouble(std::string_view) { return std::nullopt; }
std::optional<float> parseFloat(std::string_view) { return std::nullopt; }

}  // namespace quillmark::xpath
