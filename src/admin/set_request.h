// The LAN settings request (command 3) and the test the page makes first.
#pragma once

#include <cstdint>

namespace torvek {

// An address as the address control gives it: first dotted field on top.
using AddressValue = std::uint32_t;

// True when the gateway lies outside the IP's subnet. The values are taken as
// they are: an all-zero mask always passes.
bool SubnetMismatch(AddressValue ip, AddressValue mask, AddressValue gateway);

// Writes the request's body and command into a frame with a ready header.
// Each address stands little-endian, so its last dotted field comes first.
void FillSetRequest(std::uint8_t* frame, int dhcpServer, AddressValue ip, AddressValue mask,
                    AddressValue gateway);

}  // namespace torvek
