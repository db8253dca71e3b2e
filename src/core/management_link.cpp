#include "core/management_link.h"

#include <algorithm>

#include "core/answer_dispatch.h"
#include "core/module_directory.h"
#include "core/socket_errors.h"

namespace torvek {

ManagementLink::ManagementLink(ModuleDirectory& modules, QObject* parent)
    : QObject(parent), modules_(modules), socket_(this) {
  socket_.SetNotifyMessage(WM_SOCKET_NOTIFY);
  socket_.SetNotifyWindow(this);
  connect(&socket_, &CNotifySocket::Tell, this,
          [this](const QString& text) { emit tell(text, {}); });
  connect(this, &ManagementLink::moduleRecord, &modules_, &ModuleDirectory::OnModuleRecord);
  connect(this, &ManagementLink::searchAgain, this, &ManagementLink::StartSearch);
  // Requests name the chosen module from the moment it is chosen.
  connect(&modules_, &ModuleDirectory::selectionChanged, this, [this] {
    std::copy(modules_.selectedModuleMac.begin(), modules_.selectedModuleMac.end(),
              FrameTemplate.begin() + frame::kTargetMac);
  });
}

ManagementLink::~ManagementLink() { socket_.Close(); }

bool ManagementLink::Open(std::uint16_t port, const QString& address) {
  if (!socket_.CreateDatagram(port, address.toStdString())) {
    lastError = socket_.lastError;
    return false;
  }
  return true;
}

void ManagementLink::SetUpSocket() {
  socket_.SetBroadcast(true);
  socket_.SetBuffers(0x300000, 0x200000);
}

void ManagementLink::SetPcMac(const MacAddress& mac) {
  pcMac = mac;
  FrameTemplate = MakeFrameTemplate(pcMac);
}

void ManagementLink::SetPcMac(const QByteArray& mac) {
  MacAddress bytes{};
  if (mac.size() == static_cast<qsizetype>(bytes.size()))
    std::copy(mac.begin(), mac.end(), bytes.begin());
  SetPcMac(bytes);
}

void ManagementLink::StampFrame(std::uint8_t* frame, std::size_t length) {
  std::optional<std::uint16_t> code;
  if (frame[frame::kCommand] != frame::kCmdSearch) {
    const std::string type = modules_.selectedModuleType.toStdString();
    code = ModelCodeOf(type);
    if (!code) emit tell(QString::fromStdString(InvalidTypeStringText(type)), {});
  }
  torvek::StampFrame(frame, length, modules_.selectedFirmwareMajor, code);
}

bool ManagementLink::SendFrame(std::uint8_t* frame, std::size_t length) {
  StampFrame(frame, length);
  if (socket_.SendTo(frame, length, frame::kModulePort, "255.255.255.255") == -1) {
    // The second value names the command that could not go out.
    emit tell(QString::asprintf(" SendTo cmd Error(%d)= %x", socket_.lastError,
                                static_cast<unsigned>(frame[frame::kCommand])),
              "Error");
    return false;
  }
  return true;
}

bool ManagementLink::SendFrameAndSearch(std::uint8_t* frame) {
  const bool sent = SendFrame(frame, frame::kRequestLength);
  FindDevices();
  return sent;
}

void ManagementLink::FindDevices() {
  if (fileJobRunning) {
    emit tell("Module config is on process, try later !!!", {});
    return;
  }
  StartSearch();
}

void ManagementLink::StartSearch() {
  modules_.DeleteAllRows();
  PrepareSearch(FrameTemplate);
  SendFrame(FrameTemplate.data(), frame::kSearchLength);
  modules_.ForgetSelectedRow();
}

long ManagementLink::SendTo(const std::uint8_t* data, std::size_t length,
                            const std::string& address, int* error) {
  return socket_.SendTo(data, length, frame::kModulePort, address, error);
}

bool ManagementLink::event(QEvent* event) {
  if (event->type() != PrivateMessage::TypeOf(WM_SOCKET_NOTIFY)) return QObject::event(event);
  const auto* message = static_cast<PrivateMessage*>(event);
  OnManagementNotify(message->wParam, message->lParam);
  return true;
}

void ManagementLink::OnManagementNotify(long long wParam, long long /*lParam*/) {
  if (wParam != 0) {
    emit socketError(socket_.errorText);
    return;
  }
  // A copy of its own: a box runs its own loop, and the next datagram lands
  // in the socket's buffer.
  OnAnswer(QByteArray(reinterpret_cast<const char*>(socket_.receiveBuffer.data()),
                      socket_.receivedLength));
}

void ManagementLink::OnAnswer(const QByteArray& datagram) {
  const auto at = [&](std::size_t offset) -> std::uint8_t {
    return offset < static_cast<std::size_t>(datagram.size())
               ? static_cast<std::uint8_t>(datagram[static_cast<qsizetype>(offset)])
               : 0;
  };
  const AnswerDecision decision = DecideAnswer(at(frame::kResult), at(frame::kCommand));
  switch (decision.route) {
    case AnswerRoute::Refused:
    case AnswerRoute::AddressChanged:
    case AnswerRoute::Unknown: emit refusal(QString::fromStdString(decision.text)); break;
    case AnswerRoute::Silent: break;
    case AnswerRoute::ModuleRecord: emit moduleRecord(datagram); break;
    case AnswerRoute::ConfigBlock: emit configBlock(datagram); break;
    case AnswerRoute::LogoBlock: emit logoBlock(datagram); break;
    case AnswerRoute::LogBlock: emit logBlock(datagram); break;
    case AnswerRoute::MacWrite: {
      // Cut to a request's size: no MAC writer reads further.
      const MacWriteCopy copy =
          CopyMacWriteAnswer(reinterpret_cast<const std::uint8_t*>(datagram.constData()),
                             static_cast<std::size_t>(datagram.size()));
      emit macWriteAnswer(QByteArray(reinterpret_cast<const char*>(copy.bytes.data()),
                                     static_cast<qsizetype>(copy.length)));
      break;
    }
    // A module that came back from its defaults: no test of a running job.
    case AnswerRoute::SearchAgain: emit searchAgain(); break;
  }
}

}  // namespace torvek
