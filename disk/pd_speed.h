// Text forms of the speeds a disk record carries.
#pragma once
#include <string>
#include <string_view>

namespace bayhal::disk {

// A stored KB/sec figure with its unit word ("512 KB/sec", "850.0 MB/sec", "1.50 GB/sec");
// any other stored text ("none", "fail") unchanged.
std::string speed_text(std::string_view stored);

}  // namespace bayhal::disk
