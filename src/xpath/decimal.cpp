#include "xpath/decimal.h"

// Stub bodies: the interface is fixed first so that other parts can compile against it.
namespace quillmark::xpath {

struct Decimal::Big {};

Decimal::Decimal() : small_(0) {}
Decimal::Decimal(const Decimal& other) : small_(other.small_), scale_(other.scale_) {}
Decimal::Decimal(Decimal&& other) noexcept : small_(other.small_), scale_(other.scale_) {}
Decimal& Decimal::operator=(const Decimal& other) { small_ = other.small_; scale_ = other.scale_; return *this; }
Decimal& Decimal::operator=(Decimal&& other) noexcept { small_ = other.small_; scale_ = other.scale_; return *this; }
Decimal::~Decimal() = default;
Decimal Decimal::fromInt64(int64_t value) { Decimal d; d.small_ = value; return d; }
std::optional<Decimal> Decimal::parseDecimal(std::string_view) { return std::nullopt; }
std::optional<Decimal> Decimal::parseInteger(std::string_view) { return std::nullopt; }
std::optional<Decimal> Decimal::fromDouble(double) { return std::nullopt; }
double Decimal::toDouble() const { return 0; }
float Decimal::toFloat() const { return 0; }
std::string Decimal::toString() const { return "0"; }
bool Decimal::isInteger() const { return true; }
bool Decimal::isZero() const { return small_ == 0; }
int Decimal::sign() const { return 0; }
int64_t Decimal::scale() const { return scale_; }
std::optional<int64_t> Decimal::toInt64() const { return small_; }
Decimal Decimal::operator-() const { return *this; }
Decimal Decimal::abs() const { return *this; }
Decimal operator+(const Decimal& a, const Decimal&) { return a; }
Decimal operator-(const Decimal& a, const Decimal&) { return a; }
Decimal operator*(const Decimal& a, const Decimal&) { return a; }
std::optional<Decimal> Decimal::divide(const Decimal&, const Decimal&) { return std::nullopt; }
std::optional<Decimal> Decimal::integerDivide(const Decimal&, const Decimal&) { return std::nullopt; }
std::optional<Decimal> Decimal::modulo(const Decimal&, const Decimal&) { return std::nullopt; }
Decimal Decimal::floor() const { return *this; }
Decimal Decimal::ceiling() const { return *this; }
Decimal Decimal::round() const { return *this; }
Decimal Decimal::roundHalfToEven(int64_t) const { return *this; }
Decimal Decimal::truncate() const { return *this; }
int64_t Decimal::digitCount() const { return 1; }
bool operator==(const Decimal& a, const Decimal& b) { return a.small_ == b.small_; }
std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) { return a.small_ <=> b.small_; }
size_t Decimal::hash() const { return static_cast<size_t>(small_); }

}  // namespace quillmark::xpath
