// How a page sends a management request: the window stamps it and broadcasts
// it through the one socket on 7981.
#pragma once

#include <cstddef>
#include <cstdint>

namespace torvek {

class FrameSender {
 public:
  // False when the send failed; the operator has been told.
  virtual bool SendFrame(std::uint8_t* frame, std::size_t length) = 0;

 protected:
  ~FrameSender() = default;
};

}  // namespace torvek
