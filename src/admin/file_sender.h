// The file sender: a thread of its own that sends the blocks of a file job
// through the management socket, one every few milliseconds. It never touches
// a widget and never waits for the UI thread: the addresses come from a
// snapshot that the UI thread publishes, and what it has to tell goes out as
// queued signals.
#pragma once

#include <QObject>
#include <QString>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "core/file_targets.h"
#include "core/management_frame.h"

namespace torvek {

class ManagementLink;
class ModuleDirectory;

// What the sender needs of a job: the frame with its fixed fields, the whole
// file as it was read when the job started, the pause after each block, and
// where the blocks go.
struct FileJob {
  FrameBuffer frame{};
  std::vector<std::uint8_t> content;
  int gapMs = 20;
  // 1 broadcasts every block.
  int broadcast = 0;
  // 1 sends to all rows (of the job's model) rather than the selected module.
  int all = 0;
  int model = 0;
};

class FileSender : public QObject {
  Q_OBJECT
 public:
  // The list and the selection are read on the UI thread only. The sender
  // follows their changes by itself.
  FileSender(ManagementLink& link, const ModuleDirectory& modules, QObject* parent = nullptr);
  ~FileSender() override;

  // UI thread: the targets of the list, the selection and the choice of
  // address as they are now, by the job's flags, for the blocks from the
  // next on. A job publishes before its first block.
  void PublishTargets();
  // UI thread: one of those changed. While a job runs, the targets are
  // published again once the events of the moment are handled, so that a
  // burst of records costs one publication.
  void TargetsChanged();
  // Any thread: one block, by the job's flags and the latest targets; not
  // stamped here. False when a send failed; StatusText then tells it.
  bool SendFileFrame(const std::uint8_t* frame, std::size_t length);

  // UI thread: publishes the targets and sends the job's blocks in order on
  // the sender's thread, with the link's fileJobRunning set until the pause
  // after the last. False while a job runs.
  bool StartJob(FileJob job);
  // UI thread: ends a running job at once and waits for its thread.
  void Stop();
  // Blocks handed to the socket in the job of now or the last one, and all
  // the blocks of that job.
  int BlocksSent() const { return blocksSent_.load(); }
  int BlockTotal() const { return blockTotal_.load(); }

  // Where the blocks of the job of now (or the last one) go: its broadcast,
  // all and model. Read by the sender's thread.
  std::atomic<int> fileJobBroadcast{0};
  std::atomic<int> fileJobAll{0};
  std::atomic<int> fileJobModel{0};

 signals:
  // Emitted on the sender's thread; connect it to the UI thread.
  void StatusText(const QString& text);

 private:
  // The sender's thread: one block per chunk, paced by a schedule rather than
  // a plain sleep, so that the time of the sends does not add to the job.
  void SendFileFrames(FileJob job);

  ManagementLink& link_;
  const ModuleDirectory& modules_;
  FileTargetSnapshot targets_;
  bool publishScheduled_ = false;
  std::thread thread_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stop_ = false;  // under mutex_
  std::atomic<int> blocksSent_{0};
  std::atomic<int> blockTotal_{0};
};

}  // namespace torvek
