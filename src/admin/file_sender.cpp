#include "admin/file_sender.h"

#include <QTimer>
#include <chrono>

#include "core/notify_socket.h"
#include "core/process_values.h"

namespace torvek {

FileSender::FileSender(CNotifySocket& socket, FileJobFlags& flags, const CellTable& modules,
                       const Selection& selection, QObject* parent)
    : QObject(parent), socket_(socket), flags_(flags), modules_(modules), selection_(selection) {}

FileSender::~FileSender() { Stop(); }

void FileSender::PublishTargets() {
  publishScheduled_ = false;
  if (flags_.fileJobBroadcast) return;
  targets_.Publish(
      flags_.fileJobAll == 0
          ? std::vector<std::string>{selection_.selectedModuleIp.toStdString()}
          : FileTargetAddresses(modules_, flags_.fileJobModel, selection_.useLanIp != 0));
}

void FileSender::TargetsChanged() {
  if (!flags_.fileJobRunning || publishScheduled_) return;
  publishScheduled_ = true;
  QTimer::singleShot(0, this, &FileSender::PublishTargets);
}

bool FileSender::SendFileFrame(const std::uint8_t* frame, std::size_t length) {
  if (flags_.fileJobBroadcast != 0) {
    // Nobody is told of a lost broadcast block.
    int ignored = 0;
    socket_.SendTo(frame, length, frame::kModulePort, "255.255.255.255", &ignored);
    return true;
  }
  const FileTargetSnapshot::Targets targets = targets_.Read();
  int error = 0;
  for (const std::string& address : *targets)
    if (socket_.SendTo(frame, length, frame::kModulePort, address, &error) == -1) {
      emit StatusText(QString::asprintf(" SendTo cmd Error(%d)= %x", error,
                                        static_cast<unsigned>(frame[frame::kCommand])));
      return false;
    }
  return true;
}

bool FileSender::StartJob(std::vector<std::vector<std::uint8_t>> blocks, int gapMs) {
  if (flags_.fileJobRunning) return false;
  if (thread_.joinable()) thread_.join();  // the last job's thread, already at its end
  {
    std::lock_guard lock(mutex_);
    stop_ = false;
  }
  blocksSent_ = 0;
  flags_.fileJobRunning = true;
  thread_ = std::thread(
      [this, blocks = std::move(blocks), gapMs]() mutable { Run(std::move(blocks), gapMs); });
  return true;
}

void FileSender::Run(std::vector<std::vector<std::uint8_t>> blocks, int gapMs) {
  for (const std::vector<std::uint8_t>& block : blocks) {
    {
      std::unique_lock lock(mutex_);
      if (wake_.wait_for(lock, std::chrono::milliseconds(gapMs), [this] { return stop_; })) break;
    }
    SendFileFrame(block.data(), block.size());
    ++blocksSent_;
  }
  flags_.fileJobRunning = false;
}

void FileSender::Stop() {
  {
    std::lock_guard lock(mutex_);
    stop_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
}

}  // namespace torvek
