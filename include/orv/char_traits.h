#pragma once

#include <string>

namespace orv {

template <class CharT>
struct char_traits : std::char_traits<CharT> {};

}  // namespace orv
