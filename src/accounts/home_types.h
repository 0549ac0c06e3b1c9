// The types of a home, by their digits: no other meaning of them is known.
#pragma once

inline constexpr char sswseHomeType0[] = "0";
inline constexpr char sswseHomeType1[] = "1";
inline constexpr char sswseHomeType2[] = "2";
