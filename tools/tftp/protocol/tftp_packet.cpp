#include "tftp_packet.h"

#include <algorithm>
#include <cctype>

namespace torvek::tftp {
namespace {

std::uint16_t ReadU16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}

void AppendU16(std::vector<std::uint8_t>& out, std::uint16_t value) {
  out.push_back(static_cast<std::uint8_t>(value >> 8));
  out.push_back(static_cast<std::uint8_t>(value & 0xff));
}

void AppendText(std::vector<std::uint8_t>& out, const std::string& text) {
  out.insert(out.end(), text.begin(), text.end());
  out.push_back(0);
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// Splits the NUL-terminated strings behind the opcode. A last string without
// its NUL is reported, so that nothing is read beyond the datagram.
bool SplitStrings(const std::uint8_t* bytes, std::size_t length, std::vector<std::string>& out) {
  std::size_t start = 0;
  while (start < length) {
    const auto* begin = bytes + start;
    const auto* end = std::find(begin, bytes + length, std::uint8_t{0});
    if (end == bytes + length) return false;
    out.emplace_back(reinterpret_cast<const char*>(begin), static_cast<std::size_t>(end - begin));
    start += static_cast<std::size_t>(end - begin) + 1;
  }
  return true;
}

bool ParseRequest(const std::uint8_t* bytes, std::size_t length, Packet& packet, std::string& why) {
  // A request fits in 512 bytes with its opcode; a longer one is refused
  // before anything in it is looked at.
  if (length + 2 > kMaxRequestLength) {
    why = "Request too long";
    return false;
  }
  std::vector<std::string> fields;
  if (!SplitStrings(bytes, length, fields) || fields.size() < 2) {
    why = "Malformed request";
    return false;
  }
  packet.fileName = fields[0];
  const std::string mode = Lower(fields[1]);
  if (mode == "octet") {
    packet.mode = Mode::Octet;
  } else if (mode == "netascii") {
    packet.mode = Mode::Netascii;
  } else {
    why = "Unsupported transfer mode";
    return false;
  }
  // Some clients pad the request with NULs: empty names are skipped, and a
  // name without a value is ignored. Past kMaxOptions names nothing is kept,
  // which bounds the look for a repeated name.
  for (std::size_t i = 2; i + 1 < fields.size() && packet.options.size() < kMaxOptions; i += 2) {
    std::string name = Lower(fields[i]);
    if (name.empty()) continue;
    const bool seen = std::any_of(packet.options.begin(), packet.options.end(),
                                  [&](const auto& option) { return option.first == name; });
    if (!seen) packet.options.emplace_back(std::move(name), fields[i + 1]);
  }
  return true;
}

}  // namespace

bool ParsePacket(const std::uint8_t* bytes, std::size_t length, Packet& packet, std::string& why) {
  packet = Packet{};
  if (length < 2) {
    why = "Packet too short";
    return false;
  }
  const std::uint16_t opcode = ReadU16(bytes);
  const std::uint8_t* body = bytes + 2;
  const std::size_t bodyLength = length - 2;
  switch (opcode) {
    case 1:
    case 2:
      packet.opcode = opcode == 1 ? Opcode::Rrq : Opcode::Wrq;
      return ParseRequest(body, bodyLength, packet, why);
    case 3:
    case 4:
      if (bodyLength < 2) {
        why = "Packet too short";
        return false;
      }
      packet.opcode = opcode == 3 ? Opcode::Data : Opcode::Ack;
      packet.block = ReadU16(body);
      if (packet.opcode == Opcode::Data) {
        packet.data = body + 2;
        packet.dataLength = bodyLength - 2;
      }
      return true;
    case 5: {
      if (bodyLength < 2) {
        why = "Packet too short";
        return false;
      }
      packet.opcode = Opcode::Error;
      packet.errorCode = ReadU16(body);
      // The text is taken up to its NUL or the end, whichever comes first.
      const auto* text = body + 2;
      const auto* end = std::find(text, body + bodyLength, std::uint8_t{0});
      packet.errorText.assign(reinterpret_cast<const char*>(text),
                              static_cast<std::size_t>(end - text));
      return true;
    }
    case 6: {
      packet.opcode = Opcode::Oack;
      std::vector<std::string> fields;
      if (!SplitStrings(body, bodyLength, fields) || fields.size() % 2 != 0) {
        why = "Malformed option acknowledgement";
        return false;
      }
      for (std::size_t i = 0; i < fields.size(); i += 2)
        packet.options.emplace_back(Lower(fields[i]), fields[i + 1]);
      return true;
    }
    default: why = "Illegal TFTP operation"; return false;
  }
}

void WriteDataHeader(std::uint8_t* out, std::uint16_t block) {
  out[0] = 0;
  out[1] = 3;
  out[2] = static_cast<std::uint8_t>(block >> 8);
  out[3] = static_cast<std::uint8_t>(block & 0xff);
}

std::vector<std::uint8_t> MakeAck(std::uint16_t block) {
  std::vector<std::uint8_t> out;
  AppendU16(out, 4);
  AppendU16(out, block);
  return out;
}

std::vector<std::uint8_t> MakeError(std::uint16_t code, const std::string& text) {
  std::vector<std::uint8_t> out;
  AppendU16(out, 5);
  AppendU16(out, code);
  // A NUL inside the text would end it early on the far side.
  AppendText(out, text.substr(0, text.find('\0')));
  return out;
}

std::vector<std::uint8_t> MakeOack(const Options& options) {
  std::vector<std::uint8_t> out;
  AppendU16(out, 6);
  for (const auto& [name, value] : options) {
    AppendText(out, name);
    AppendText(out, value);
  }
  return out;
}

std::vector<std::uint8_t> MakeRequest(bool write, const std::string& fileName,
                                      const std::string& mode, const Options& options) {
  std::vector<std::uint8_t> out;
  AppendU16(out, write ? 2 : 1);
  AppendText(out, fileName);
  AppendText(out, mode);
  for (const auto& [name, value] : options) {
    AppendText(out, name);
    AppendText(out, value);
  }
  return out;
}

std::vector<std::uint8_t> MakeData(std::uint16_t block, const std::uint8_t* data,
                                   std::size_t length) {
  std::vector<std::uint8_t> out(kDataHeaderLength + length);
  WriteDataHeader(out.data(), block);
  if (length > 0) std::copy(data, data + length, out.begin() + kDataHeaderLength);
  return out;
}

const char* ModeName(Mode mode) { return mode == Mode::Octet ? "octet" : "netascii"; }

}  // namespace torvek::tftp
