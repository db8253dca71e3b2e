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

// Requests whose answer changes the list go out with a search behind them;
// a search of its own empties the list first.
class SearchingSender {
 public:
  // A search follows unless a running file job refuses it.
  virtual bool SendFrameAndSearch(std::uint8_t* frame) = 0;
  // A search without the file job's check.
  virtual void StartSearch() = 0;

 protected:
  ~SearchingSender() = default;
};

}  // namespace torvek
