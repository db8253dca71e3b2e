#include "admin/set_request.h"

#include "core/management_frame.h"

namespace torvek {

bool SubnetMismatch(AddressValue ip, AddressValue mask, AddressValue gateway) {
  return (ip & mask) != (gateway & mask);
}

void FillSetRequest(std::uint8_t* frame, int dhcpServer, AddressValue ip, AddressValue mask,
                    AddressValue gateway) {
  frame[frame::kDhcpServer] = static_cast<std::uint8_t>(dhcpServer);
  PutU32(frame + frame::kLanIp, ip);
  PutU32(frame + frame::kLanSubnet, mask);
  PutU32(frame + frame::kLanGateway, gateway);
  frame[frame::kCommand] = frame::kCmdSetNetwork;
}

}  // namespace torvek
