#include "terminals/network_session.h"

#include "core/latin1_text.h"
#include "core/module_directory.h"
#include "platform/platform.h"

namespace torvek {

namespace {

// The kernel's buffers for the stream, each way.
constexpr int kStreamBuffer = 0x20000;

}  // namespace

NetworkSession::NetworkSession(Platform& platform, const ModuleDirectory& selection,
                               QObject* parent)
    : QObject(parent), platform_(platform), selection_(selection) {
  connect(&socket_, &CNotifySocket::Tell, this,
          [this](const QString& text) { platform_.prompter.Message(text); });
  connect(&selection, &ModuleDirectory::selectionChanged, this,
          &NetworkSession::OnTargetModuleChanged);
}

NetworkSession::~NetworkSession() { socket_.Close(); }

void NetworkSession::ConnectRemote() {
  const NetworkControls controls = view_->ReadControls();
  const std::uint16_t port = PortOfText(controls.remotePort.toStdString());
  const bool noModule = selection_.selectedRow < 0;
  if (controls.protocolRow == kProtocolUdp) {
    if (!controls.broadcast && noModule) {
      platform_.prompter.Message(Latin1Text(kModuleNotSelectedText));
      return;
    }
    // Bound to the port it sends to, so that a module answering there is heard.
    if (!socket_.CreateDatagram(port)) {
      platform_.prompter.Message(Latin1Text(kUdpOpenErrorText));
      return;
    }
    socket_.SetBroadcast(true);
    Enter(NetworkState::UdpOpen);
  } else {
    if (noModule) {
      platform_.prompter.Message(Latin1Text(kModuleNotSelectedText));
      return;
    }
    if (!socket_.CreateStream()) {
      platform_.prompter.Message(Latin1Text(kTcpCreateErrorText));
      return;
    }
    socket_.SetBuffers(kStreamBuffer, kStreamBuffer);
    socket_.Connect(selection_.selectedAddress.toStdString(), port);
    Enter(NetworkState::TcpConnecting);
  }
  socket_.SetNotifyMessage(WM_SOCKET_NOTIFY);
  socket_.SetNotifyWindow(this);
}

void NetworkSession::DisconnectRemote() {
  if (!socket_.IsOpen()) return;
  socket_.Close();
  platform_.clock.WaitOnUiThread(500);
  Enter(NetworkState::DisconnectedByOperator);
}

void NetworkSession::OnSocketNotify(long long kind, long long /*length*/) {
  switch (kind) {
    case CNotifySocket::kFailed:
      DisconnectRemote();
      Enter(NetworkState::FailedOrClosed);
      AppendNetworkLog(kLogError, socket_.errorText.toStdString());
      break;
    case CNotifySocket::kConnected: Enter(NetworkState::TcpConnected); break;
    default: {
      // Taken by its length: a full buffer has no NUL behind it, and a NUL
      // inside is data like any other byte.
      const auto* bytes = reinterpret_cast<const char*>(socket_.receiveBuffer.data());
      AppendNetworkLog(kLogReceived, std::string_view(bytes, socket_.receivedLength));
      break;
    }
  }
}

void NetworkSession::SendNetworkLine(bool clearInput) {
  const NetworkControls controls = view_->ReadControls();
  if (controls.input.isEmpty()) return;
  const QByteArray input = controls.input.toLatin1();
  const std::string_view text = ByteView(input);
  AppendNetworkLog(kLogSent, text);
  const std::string line = BuildNetworkLine(text, controls.terminatorRow);
  if (clearInput) view_->ClearInput();
  if (!remoteConnected) return;
  const auto* data = reinterpret_cast<const std::uint8_t*>(line.data());
  long sent = 0;
  // The protocol row is read at each send, also while connected.
  if (controls.protocolRow == kProtocolUdp) {
    const std::string to =
        controls.broadcast ? "255.255.255.255" : selection_.selectedAddress.toStdString();
    sent = socket_.SendTo(data, line.size(), PortOfText(controls.remotePort.toStdString()), to);
  } else {
    sent = socket_.Send(data, line.size());
  }
  if (sent < 0) socket_.ReportError(socket_.lastError);
}

void NetworkSession::AppendNetworkLog(int kind, std::string_view text) {
  log_.Append(kind, text);
  if (view_) view_->LogChanged();
}

void NetworkSession::OnTargetModuleChanged() {
  if (!remoteConnected) return;
  DisconnectRemote();
  platform_.prompter.Message(Latin1Text(kTargetChangedText));
}

bool NetworkSession::event(QEvent* event) {
  if (event->type() == PrivateMessage::TypeOf(WM_SOCKET_NOTIFY)) {
    const auto* message = static_cast<PrivateMessage*>(event);
    OnSocketNotify(message->wParam, message->lParam);
    return true;
  }
  return QObject::event(event);
}

void NetworkSession::Enter(NetworkState state) {
  state_ = state;
  remoteConnected = RemoteConnectedIn(state) ? 1 : 0;
  const ConnectButtonLook look = ConnectButtonOf(state);
  if (view_)
    view_->ShowConnectButton(look.text.empty() ? QString() : Latin1Text(look.text), look.enabled);
}

}  // namespace torvek
