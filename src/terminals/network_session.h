// The Network page's connection: a TCP or UDP socket to a data port of the
// selected module, the page's log, and the state its connect button shows.
#pragma once

#include <QObject>
#include <QString>
#include <string_view>

#include "core/notify_socket.h"
#include "terminals/network_rules.h"

namespace torvek {

class ModuleDirectory;

struct Platform;

// What the page's controls hold when they are read.
struct NetworkControls {
  int protocolRow = kProtocolTcp;
  QString remotePort = "5000";
  int terminatorRow = 0;
  bool broadcast = false;
  QString input;
};

// What the connection needs of its page.
class NetworkView {
 public:
  virtual NetworkControls ReadControls() = 0;
  // A null text leaves the button's text as it is.
  virtual void ShowConnectButton(const QString& text, bool enabled) = 0;
  virtual void ClearInput() = 0;
  // The log has new text for the box.
  virtual void LogChanged() = 0;

 protected:
  ~NetworkView() = default;
};

class NetworkSession : public QObject {
  Q_OBJECT
 public:
  // Follows the directory's selection by itself.
  NetworkSession(Platform& platform, const ModuleDirectory& selection, QObject* parent = nullptr);
  ~NetworkSession() override;
  void SetView(NetworkView* view) { view_ = view; }

  void ConnectRemote();
  void DisconnectRemote();
  // Handler of the socket's notification: 0 data, 1 failed or closed, 2 up.
  void OnSocketNotify(long long kind, long long length);
  void SendNetworkLine(bool clearInput);
  // Kind 0 sent, 100 error, any other received.
  void AppendNetworkLog(int kind, std::string_view text);
  void OnTargetModuleChanged();
  // At shutdown: the socket goes without a word.
  void Close() { socket_.Close(); }

  // Set while the page may send.
  int remoteConnected = 0;
  NetworkState state() const { return state_; }
  NetworkLog& log() { return log_; }
  CNotifySocket& socket() { return socket_; }

 protected:
  bool event(QEvent* event) override;

 private:
  void Enter(NetworkState state);

  Platform& platform_;
  const ModuleDirectory& selection_;
  NetworkView* view_ = nullptr;
  CNotifySocket socket_;
  NetworkLog log_;
  NetworkState state_ = NetworkState::NeverConnected;
};

}  // namespace torvek
