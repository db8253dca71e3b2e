#include "tftp_transfer.h"

#include <algorithm>
#include <cmath>

#include "tftp_texts.h"

namespace torvek::tftp {
namespace {

// A decimal option value, or nothing for anything else (signs, blanks,
// digits beyond what any option can use).
std::optional<std::uint64_t> ParseNumber(const std::string& text) {
  if (text.empty() || text.size() > 19) return std::nullopt;
  std::uint64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return value;
}

Action Make(Action::Kind kind) {
  Action action{};
  action.kind = kind;
  return action;
}

Action Timer(std::uint32_t milliseconds) {
  Action action = Make(Action::ArmTimer);
  action.milliseconds = milliseconds;
  return action;
}

Action Data(std::uint64_t block) {
  Action action = Make(Action::SendData);
  action.block = block;
  return action;
}

Action Ack(std::uint64_t block) {
  Action action = Make(Action::SendAck);
  action.block = block & 0xffff;
  return action;
}

void Finish(bool ok, const std::string& text, Actions& actions) {
  Action action = Make(Action::Finished);
  action.ok = ok;
  action.text = text;
  actions.push_back(action);
}

void EndWith(std::uint16_t code, const std::string& text, bool tellClient, Actions& actions) {
  if (tellClient) {
    Action error = Make(Action::SendError);
    error.code = code;
    error.text = text;
    actions.push_back(error);
  }
  Finish(false, text, actions);
  actions.push_back(Make(Action::Close));
}

// The client's words go into the log: escaped, and no longer than a line.
std::string ClientError(const Packet& packet) {
  return "client ended the transfer: " + std::to_string(packet.errorCode) + " " +
         PrintableName(packet.errorText.substr(0, 120));
}

constexpr std::uint64_t kNoLastBlock = ~std::uint64_t{0};

}  // namespace

TransferParameters Negotiate(const Packet& request, const ServerLimits& limits,
                             std::optional<std::uint64_t> sizeToSend) {
  TransferParameters parameters;
  const bool read = request.opcode == Opcode::Rrq;
  for (const auto& [name, text] : request.options) {
    const auto value = ParseNumber(text);
    if (!value) continue;
    if (name == "blksize" && *value >= 8) {
      parameters.blockSize =
          static_cast<std::uint32_t>(std::min<std::uint64_t>(*value, limits.maxBlockSize));
      parameters.oack.emplace_back(name, std::to_string(parameters.blockSize));
    } else if (name == "timeout" && *value >= 1 && *value <= 255) {
      parameters.timeoutSeconds = static_cast<std::uint32_t>(*value);
      parameters.oack.emplace_back(name, text);
    } else if (name == "tsize") {
      if (read) {
        if (sizeToSend) parameters.oack.emplace_back(name, std::to_string(*sizeToSend));
      } else {
        parameters.announcedSize = *value;
        parameters.oack.emplace_back(name, std::to_string(*value));
      }
    } else if (name == "windowsize" && read && *value >= 1 && *value <= 65535) {
      parameters.windowSize =
          static_cast<std::uint32_t>(std::min<std::uint64_t>(*value, limits.maxWindowSize));
      parameters.oack.emplace_back(name, std::to_string(parameters.windowSize));
    }
  }
  return parameters;
}

RetransmitClock::RetransmitClock(std::uint32_t timeoutSeconds) : limitMs_(timeoutSeconds * 1000) {}

std::uint32_t RetransmitClock::Timeout() const {
  // Until a round trip is measured, a second; then the measured time with
  // room for its spread, never below what a busy PC needs to answer. A
  // client's timeout option bounds it: it says how long the client waits
  // itself, and a lost block must not cost that wait every time.
  double base = 1000;
  if (smoothed_ >= 0) base = std::clamp(smoothed_ + std::max(10.0, 4 * variation_), 50.0, 3000.0);
  const double limit = limitMs_ > 0 ? limitMs_ : 6000.0;
  return static_cast<std::uint32_t>(std::min(base * std::pow(2.0, backOff_), limit));
}

void RetransmitClock::Sample(std::uint64_t roundTripMs) {
  const double sample = static_cast<double>(roundTripMs);
  if (smoothed_ < 0) {
    smoothed_ = sample;
    variation_ = sample / 2;
  } else {
    variation_ = 0.75 * variation_ + 0.25 * std::fabs(smoothed_ - sample);
    smoothed_ = 0.875 * smoothed_ + 0.125 * sample;
  }
}

void RetransmitClock::BackOff() { backOff_ = std::min(backOff_ + 1, 8); }

ReadTransfer::ReadTransfer(std::optional<std::uint64_t> size, const TransferParameters& parameters)
    : size_(size), parameters_(parameters),
      lastBlock_(size ? *size / parameters.blockSize + 1 : kNoLastBlock),
      clock_(parameters.timeoutSeconds) {}

void ReadTransfer::KnownSize(std::uint64_t size) {
  size_ = size;
  lastBlock_ = size / parameters_.blockSize + 1;
  lastSent_ = std::min(lastSent_, lastBlock_);
}

std::uint32_t ReadTransfer::Timeout() const {
  return heard_ ? clock_.Timeout() : std::min(clock_.Timeout(), RetransmitClock::kFirstContactMs);
}

std::uint64_t ReadTransfer::BlockOffset(std::uint64_t block) const {
  return (block - 1) * parameters_.blockSize;
}

std::size_t ReadTransfer::BlockLength(std::uint64_t block) const {
  if (block < lastBlock_ || !size_) return parameters_.blockSize;
  return static_cast<std::size_t>(*size_ - BlockOffset(lastBlock_));
}

std::uint64_t ReadTransfer::BytesDone() const {
  const std::uint64_t done = acked_ * parameters_.blockSize;
  return size_ ? std::min(done, *size_) : done;
}

void ReadTransfer::Start(std::uint64_t nowMs, Actions& actions) {
  if (parameters_.oack.empty()) {
    SendWindow(nowMs, actions);
    return;
  }
  waitingOackAck_ = true;
  windowSentAt_ = nowMs;
  windowResent_ = false;
  actions.push_back(Make(Action::SendOack));
  actions.push_back(Timer(Timeout()));
}

void ReadTransfer::SendWindow(std::uint64_t nowMs, Actions& actions) {
  lastSent_ = std::min<std::uint64_t>(acked_ + parameters_.windowSize, lastBlock_);
  for (std::uint64_t block = acked_ + 1; block <= lastSent_; ++block)
    actions.push_back(Data(block));
  windowSentAt_ = nowMs;
  windowResent_ = false;
  actions.push_back(Timer(Timeout()));
}

void ReadTransfer::Fail(std::uint16_t code, const std::string& text, bool tellClient,
                        Actions& actions) {
  over_ = true;
  EndWith(code, text, tellClient, actions);
}

void ReadTransfer::OnPacket(const Packet& packet, std::uint64_t nowMs, Actions& actions) {
  if (over_) return;
  if (packet.opcode == Opcode::Error) {
    Fail(0, ClientError(packet), false, actions);
    return;
  }
  if (packet.opcode != Opcode::Ack) {
    Fail(kIllegalOperation, "Illegal TFTP operation", true, actions);
    return;
  }
  if (waitingOackAck_) {
    if (packet.block != 0) return;
    waitingOackAck_ = false;
  } else {
    // The 16-bit number names the block in flight that it rolls over to. An
    // acknowledgement of what is already acknowledged is a duplicate, and
    // answering it would double every block from there on: it is ignored.
    const auto delta = static_cast<std::uint16_t>(packet.block - (acked_ & 0xffff));
    if (delta == 0 || acked_ + delta > lastSent_) return;
    acked_ += delta;
    if (acked_ != lastSent_) windowResent_ = true;  // a partial window times nothing
  }
  heard_ = true;
  if (!windowResent_) clock_.Sample(nowMs - windowSentAt_);
  clock_.Reset();
  retries_ = 0;
  if (acked_ == lastBlock_) {
    over_ = true;
    Finish(true, "", actions);
    actions.push_back(Make(Action::Close));
    return;
  }
  SendWindow(nowMs, actions);
}

void ReadTransfer::OnTimer(std::uint64_t, Actions& actions) {
  if (over_) return;
  if (++retries_ > (heard_ ? RetransmitClock::kMaxRetries : RetransmitClock::kMaxFirstRetries)) {
    Fail(kNotDefined, "Transfer timed out", true, actions);
    return;
  }
  clock_.BackOff();
  windowResent_ = true;
  if (waitingOackAck_) {
    actions.push_back(Make(Action::SendOack));
    ++retransmissions_;
  } else {
    for (std::uint64_t block = acked_ + 1; block <= lastSent_; ++block) {
      actions.push_back(Data(block));
      ++retransmissions_;
    }
  }
  actions.push_back(Timer(Timeout()));
}

WriteTransfer::WriteTransfer(const TransferParameters& parameters)
    : parameters_(parameters), clock_(parameters.timeoutSeconds) {}

std::uint32_t WriteTransfer::Timeout() const {
  return Heard() ? clock_.Timeout() : std::min(clock_.Timeout(), RetransmitClock::kFirstContactMs);
}

void WriteTransfer::Start(std::uint64_t nowMs, Actions& actions) {
  Acknowledge(nowMs, actions);
  actions.push_back(Timer(Timeout()));
}

void WriteTransfer::Acknowledge(std::uint64_t nowMs, Actions& actions) {
  // Before the first block, the option acknowledgement stands for block 0.
  if (received_ == 0 && !parameters_.oack.empty())
    actions.push_back(Make(Action::SendOack));
  else
    actions.push_back(Ack(received_));
  lastAckAt_ = nowMs;
}

void WriteTransfer::Fail(std::uint16_t code, const std::string& text, bool tellClient,
                         Actions& actions) {
  over_ = true;
  EndWith(code, text, tellClient, actions);
}

void WriteTransfer::OnPacket(const Packet& packet, std::uint64_t nowMs, Actions& actions) {
  if (over_) return;
  if (packet.opcode == Opcode::Error) {
    Fail(0, ClientError(packet), false, actions);
    return;
  }
  if (packet.opcode != Opcode::Data) {
    Fail(kIllegalOperation, "Illegal TFTP operation", true, actions);
    return;
  }
  if (packet.block == static_cast<std::uint16_t>(received_) && received_ > 0) {
    // Our acknowledgement was lost and the client sent the block again.
    actions.push_back(Ack(received_));
    return;
  }
  if (lingering_ || packet.block != static_cast<std::uint16_t>(received_ + 1)) return;
  if (packet.dataLength > parameters_.blockSize) {
    Fail(kIllegalOperation, "Block larger than the negotiated size", true, actions);
    return;
  }
  Action write = Make(Action::Write);
  write.data = packet.data;
  write.length = packet.dataLength;
  actions.push_back(write);
  if (retries_ == 0) clock_.Sample(nowMs - lastAckAt_);
  clock_.Reset();
  retries_ = 0;
  ++received_;
  bytes_ += packet.dataLength;
  if (packet.dataLength < parameters_.blockSize) {
    // The file is in place before the client hears that it arrived.
    lingering_ = true;
    Finish(true, "", actions);
    Acknowledge(nowMs, actions);
    actions.push_back(Timer(std::max<std::uint32_t>(2 * clock_.Timeout(), 1000)));
    return;
  }
  Acknowledge(nowMs, actions);
  actions.push_back(Timer(clock_.Timeout()));
}

void WriteTransfer::OnTimer(std::uint64_t nowMs, Actions& actions) {
  if (over_) return;
  if (lingering_) {
    over_ = true;
    actions.push_back(Make(Action::Close));
    return;
  }
  if (++retries_ > (Heard() ? RetransmitClock::kMaxRetries : RetransmitClock::kMaxFirstRetries)) {
    Fail(kNotDefined, "Transfer timed out", true, actions);
    return;
  }
  clock_.BackOff();
  ++retransmissions_;
  Acknowledge(nowMs, actions);
  actions.push_back(Timer(Timeout()));
}

void WriteTransfer::OnWriteFailed(const std::string& text, Actions& actions) {
  if (over_) return;
  Fail(kDiskFull, text, true, actions);
}

}  // namespace torvek::tftp
