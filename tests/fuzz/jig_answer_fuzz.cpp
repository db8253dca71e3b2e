// Arbitrary datagrams as jig answers: exactly the bytes that arrived, on the
// heap, so that an over-read is seen. A known code makes fields and a label
// within what arrived; an unknown one makes nothing.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "production/jig_rules.h"

using namespace torvek;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::uint8_t> datagram(data, data + size);
  const JigAnswer answer = ReadJigAnswer(datagram.data(), datagram.size());
  if (answer.text.size() + 3 > std::max<std::size_t>(size, 3)) std::abort();
  const JigAnswerEffect effect = DecideJigAnswer(answer, "00-0E-E3-00-00-01");
  if (!effect.known && !effect.fields.empty()) std::abort();
  if (effect.known && (effect.fields.empty() || effect.label.size() > answer.text.size() + 4))
    std::abort();
  return 0;
}
