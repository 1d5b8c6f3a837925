// {fmt}'s own functions, of which Debian has no library for the machine that we build for.
#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {

template FMT_API auto dragonbox::to_decimal(float number) noexcept -> dragonbox::decimal_fp<float>;
template FMT_API auto dragonbox::to_decimal(double number) noexcept -> dragonbox::decimal_fp<double>;
template FMT_API auto locale_ref::get<std::locale>() const -> std::locale;
template FMT_API auto thousands_sep_impl(locale_ref locale) -> thousands_sep_result<char>;
template FMT_API auto decimal_point_impl(locale_ref locale) -> char;

} // namespace detail
FMT_END_NAMESPACE
