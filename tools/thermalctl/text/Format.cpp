// The formatting library's own code, in the place of its shared library: to look for that one and
// for what it needs takes longer than most commands do.

#include <fmt/format-inl.h>

namespace fmt::detail {

template thousands_sep_result<char> thousands_sep_impl<char>(locale_ref);
template char decimal_point_impl<char>(locale_ref);
template dragonbox::decimal_fp<float> dragonbox::to_decimal(float) noexcept;
template dragonbox::decimal_fp<double> dragonbox::to_decimal(double) noexcept;

} // namespace fmt::detail
