// The PC's network adapters: hardware address, IPv4 addresses with masks, gateways.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

namespace torvek {

struct AdapterAddress {
  QString ip;
  QString mask;
};

struct Adapter {
  QString name;
  QByteArray mac;  // six bytes
  QList<AdapterAddress> addresses;
  QStringList gateways;
};

class AdapterInfo {
 public:
  virtual ~AdapterInfo() = default;
  // Adapters that are up, not loopback, with a hardware address and an IPv4
  // address, in the system's order.
  virtual QList<Adapter> Adapters() = 0;
};

class SystemAdapterInfo : public AdapterInfo {
 public:
  QList<Adapter> Adapters() override;
};

// Gateways per interface name from the text of /proc/net/route.
QList<QPair<QString, QString>> ParseRouteGateways(const QByteArray& routeTable);

}  // namespace torvek
