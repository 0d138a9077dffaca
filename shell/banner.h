// What a session prints first: the name in large letters and the build's
// version strings.
#pragma once

namespace kestrel {

inline constexpr int kBannerRows = 8;
inline constexpr int kBannerWidth = 47;
extern const char* const kBanner[kBannerRows];

// "\n", the eight banner rows, then the version, build and copyright lines.
void print_banner();

}  // namespace kestrel
