// The Network tab: a TCP or UDP terminal to a data port of the module chosen
// in the list. The connection lives in NetworkSession; the page shows it.
#pragma once

#include <QTimer>
#include <QWidget>
#include <memory>

#include "terminals/network_session.h"

namespace Ui {
class NetworkPage;
}

namespace torvek {

class CNetworkPage : public QWidget, public NetworkView {
  Q_OBJECT
 public:
  explicit CNetworkPage(NetworkSession& session, QWidget* parent = nullptr);
  ~CNetworkPage() override;

  void ConnectRemote() { session_.ConnectRemote(); }
  void DisconnectRemote() { session_.DisconnectRemote(); }
  void SendNetworkLine(bool clearInput) { session_.SendNetworkLine(clearInput); }
  void OnSocketNotify(long long kind, long long length) { session_.OnSocketNotify(kind, length); }
  // The selection in the module list moved to another module.
  void OnTargetModuleChanged() { session_.OnTargetModuleChanged(); }
  void AppendNetworkLog(int kind, std::string_view text) { session_.AppendNetworkLog(kind, text); }

  // Button 1063: connects, or disconnects while connected.
  void OnRemoteConnect();
  void OnSend() { SendNetworkLine(true); }
  void OnClearBuffer();
  void OnProtocolChange();
  // Timer 1234, every 100 ms for the life of the page.
  void OnAutoSendTick();
  // Brings the box up to the log and scrolls to its end.
  void FlushLog();
  // How the box shows a stretch of the log.
  static QString Displayed(std::string_view text);

  int autoSendCount = 0;

  NetworkControls ReadControls() override;
  void ShowConnectButton(const QString& text, bool enabled) override;
  void ClearInput() override;
  void LogChanged() override;

 protected:
  // Enter sends, as the page's default button.
  void keyPressEvent(QKeyEvent* event) override;

 private:
  NetworkSession& session_;
  std::unique_ptr<Ui::NetworkPage> ui_;
  QTimer autoSendTimer_;
  QTimer flushTimer_;
};

}  // namespace torvek
