// What becomes of a datagram on the management socket: a refusal stops it,
// everything else goes by its command. No request is remembered; an answer
// counts whenever it comes and from whoever sends it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace torvek {

enum class AnswerRoute {
  Refused,         // result 1..13: show the result's text
  Silent,          // result 9: dropped without a word
  ModuleRecord,    // 2
  AddressChanged,  // 5
  ConfigBlock,     // 51
  MacWrite,        // 53, 57, 82
  LogoBlock,       // 55
  SearchAgain,     // 60
  LogBlock,        // 62
  Unknown,
};

struct AnswerDecision {
  AnswerRoute route = AnswerRoute::Unknown;
  // The box to show, UTF-8; empty when the route shows none of its own.
  std::string text;
};

// The text of a refusal, UTF-8; empty outside 1..13.
std::string ResultText(int result);

AnswerDecision DecideAnswer(std::uint8_t result, std::uint8_t command);

// What the MAC writer is handed of its answer: a copy of a request's size, so
// that a box it shows cannot meet the next datagram in the socket's buffer;
// anything longer is cut.
struct MacWriteCopy {
  std::array<std::uint8_t, 1228> bytes{};
  std::size_t length = 0;
};
MacWriteCopy CopyMacWriteAnswer(const std::uint8_t* frame, std::size_t length);

}  // namespace torvek
