// How a session sends a request whose answer changes the list: the management
// link does it; tests stand in for it.
#pragma once

#include <cstdint>

namespace torvek {

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
