#include "platform/adapter_info.h"

#include <QFile>
#include <QHostAddress>
#include <QNetworkInterface>
#include <QtEndian>

namespace torvek {

QList<QPair<QString, QString>> ParseRouteGateways(const QByteArray& routeTable) {
  // Iface Destination Gateway Flags ... ; addresses in hex, host byte order
  // of a little-endian machine, RTF_GATEWAY = 0x2.
  QList<QPair<QString, QString>> out;
  const QList<QByteArray> lines = routeTable.split('\n');
  for (qsizetype i = 1; i < lines.size(); ++i) {
    const QList<QByteArray> f = lines[i].simplified().split(' ');
    if (f.size() < 4) continue;
    bool okGateway = false, okFlags = false;
    const quint32 gateway = f[2].toUInt(&okGateway, 16);
    const quint32 flags = f[3].toUInt(&okFlags, 16);
    if (!okGateway || !okFlags || !(flags & 0x2) || gateway == 0) continue;
    const QString text = QHostAddress(qFromBigEndian(gateway)).toString();
    const QPair<QString, QString> entry{QString::fromLatin1(f[0]), text};
    if (!out.contains(entry)) out.append(entry);
  }
  return out;
}

QList<Adapter> SystemAdapterInfo::Adapters() {
  QList<QPair<QString, QString>> gateways;
  QFile routes("/proc/net/route");
  if (routes.open(QIODevice::ReadOnly)) gateways = ParseRouteGateways(routes.readAll());

  QList<Adapter> adapters;
  for (const QNetworkInterface& nic : QNetworkInterface::allInterfaces()) {
    const auto flags = nic.flags();
    if (!(flags & QNetworkInterface::IsUp) || (flags & QNetworkInterface::IsLoopBack)) continue;
    const QByteArray mac = QByteArray::fromHex(nic.hardwareAddress().toLatin1());
    if (mac.size() != 6) continue;
    Adapter adapter;
    adapter.name = nic.name();
    adapter.mac = mac;
    for (const QNetworkAddressEntry& entry : nic.addressEntries()) {
      if (entry.ip().protocol() != QAbstractSocket::IPv4Protocol) continue;
      adapter.addresses.append({entry.ip().toString(), entry.netmask().toString()});
    }
    if (adapter.addresses.isEmpty()) continue;
    for (const auto& [iface, gateway] : gateways)
      if (iface == nic.name()) adapter.gateways.append(gateway);
    adapters.append(adapter);
  }
  return adapters;
}

}  // namespace torvek
