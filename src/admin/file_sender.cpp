#include "admin/file_sender.h"

#include <QTimer>
#include <algorithm>
#include <chrono>

#include "admin/file_job.h"
#include "core/management_link.h"
#include "core/module_directory.h"

namespace torvek {

FileSender::FileSender(ManagementLink& link, const ModuleDirectory& modules, QObject* parent)
    : QObject(parent), link_(link), modules_(modules) {
  connect(&modules, &ModuleDirectory::rowsChanged, this, &FileSender::TargetsChanged);
  connect(&modules, &ModuleDirectory::selectionChanged, this, &FileSender::TargetsChanged);
  connect(&modules, &ModuleDirectory::addressChanged, this, &FileSender::TargetsChanged);
}

FileSender::~FileSender() { Stop(); }

void FileSender::PublishTargets() {
  publishScheduled_ = false;
  if (fileJobBroadcast) return;
  targets_.Publish(
      fileJobAll == 0
          ? std::vector<std::string>{modules_.selectedModuleIp.toStdString()}
          : FileTargetAddresses(modules_.table(), fileJobModel, modules_.useLanIp != 0));
}

void FileSender::TargetsChanged() {
  if (!link_.fileJobRunning || publishScheduled_) return;
  publishScheduled_ = true;
  QTimer::singleShot(0, this, &FileSender::PublishTargets);
}

bool FileSender::SendFileFrame(const std::uint8_t* frame, std::size_t length) {
  if (fileJobBroadcast != 0) {
    // Nobody is told of a lost broadcast block.
    int ignored = 0;
    link_.SendTo(frame, length, "255.255.255.255", &ignored);
    return true;
  }
  const FileTargetSnapshot::Targets targets = targets_.Read();
  int error = 0;
  for (const std::string& address : *targets)
    if (link_.SendTo(frame, length, address, &error) == -1) {
      emit StatusText(QString::asprintf(" SendTo cmd Error(%d)= %x", error,
                                        static_cast<unsigned>(frame[frame::kCommand])));
      return false;
    }
  return true;
}

bool FileSender::StartJob(FileJob job) {
  if (link_.fileJobRunning) return false;
  if (thread_.joinable()) thread_.join();  // the last job's thread, already at its end
  {
    std::lock_guard lock(mutex_);
    stop_ = false;
  }
  blocksSent_ = 0;
  blockTotal_ = static_cast<int>(BlockCount(job.content.size()));
  fileJobBroadcast = job.broadcast;
  fileJobAll = job.all;
  fileJobModel = job.model;
  PublishTargets();
  link_.fileJobRunning = true;
  thread_ = std::thread([this, job = std::move(job)]() mutable { SendFileFrames(std::move(job)); });
  return true;
}

void FileSender::SendFileFrames(FileJob job) {
  using Clock = std::chrono::steady_clock;
  const auto gap = std::chrono::milliseconds(job.gapMs);
  auto due = Clock::now();
  for (std::uint32_t index = 0;; ++index) {
    if (PutJobBlock(job.frame, index, job.content) == 0) break;
    SendFileFrame(job.frame.data(), job.frame.size());
    ++blocksSent_;
    // A block that went late shortens the next pause, never below none.
    due = std::max(due + gap, Clock::now());
    std::unique_lock lock(mutex_);
    if (wake_.wait_until(lock, due, [this] { return stop_; })) break;
  }
  link_.fileJobRunning = false;
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
