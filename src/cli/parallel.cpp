// Workers are forked and take the next file from a counter in shared memory, so that a long file
// holds up nobody. Each writes its verdicts as records into a pipe of its own. A process apiece and
// not a thread: a document that crashes the verifier takes one verdict with it and no other.
#include "cli/parallel.h"

#include <errno.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <new>
#include <string>
#include <vector>

#include <poll.h>

namespace talvo::cli {

namespace {

// What stands before the texts of a verdict in the pipe.
struct RecordHead {
  size_t index;
  ExitStatus status;
  size_t outputLength;
  size_t problemLength;
};

using Counter = std::atomic<size_t>;

struct Worker {
  pid_t process = -1;
  int pipe = -1;
  std::string received;
};

bool sendAll(int pipe, const char *bytes, size_t length) {
  while (length > 0) {
    const ssize_t count = ::write(pipe, bytes, length);
    if (count < 0 && errno != EINTR) {
      return false;
    }
    const size_t sent = count > 0 ? static_cast<size_t>(count) : 0;
    bytes += sent;
    length -= sent;
  }
  return true;
}

bool sendVerdict(int pipe, size_t index, const FileVerdict &verdict) {
  const RecordHead head{index, verdict.status, verdict.output.size(), verdict.problem.size()};
  std::string record(sizeof head, '\0');
  std::memcpy(record.data(), &head, sizeof head);
  record += verdict.output + verdict.problem;
  return sendAll(pipe, record.data(), record.size());
}

[[noreturn]] void work(int pipe, Counter *next, size_t count, const FileWork &work) {
  for (size_t index = (*next)++; index < count; index = (*next)++) {
    if (!sendVerdict(pipe, index, work(index))) {
      break;
    }
  }
  // Nothing of the parent's may be flushed or torn down a second time.
  ::_exit(0);
}

Worker start(Counter *next, size_t count, const FileWork &fileWork) {
  int ends[2];
  if (::pipe(ends) != 0) {
    return {};
  }
  const pid_t process = ::fork();
  if (process == 0) {
    ::close(ends[0]);
    work(ends[1], next, count, fileWork);
  }
  ::close(ends[1]);
  if (process < 0) {
    ::close(ends[0]);
    return {};
  }
  return {process, ends[0], {}};
}

// Takes a whole record from the front of what was received.
bool takeRecord(std::string &received, size_t &index, FileVerdict &verdict) {
  RecordHead head;
  if (received.size() < sizeof head) {
    return false;
  }
  std::memcpy(&head, received.data(), sizeof head);
  const size_t length = sizeof head + head.outputLength + head.problemLength;
  if (received.size() < length) {
    return false;
  }
  index = head.index;
  verdict = {head.status, received.substr(sizeof head, head.outputLength),
             received.substr(sizeof head + head.outputLength, head.problemLength)};
  received.erase(0, length);
  return true;
}

// Verdicts that came before their turn wait here.
class InOrder {
 public:
  InOrder(size_t count, const VerdictSink &sink) : count_(count), sink_(sink) {}

  void add(size_t index, FileVerdict verdict) {
    waiting_[index] = std::move(verdict);
    for (auto next = waiting_.find(next_); next != waiting_.end(); next = waiting_.find(next_)) {
      sink_(next_++, next->second);
      waiting_.erase(next);
    }
  }
  // Fills the gaps.
  void finish(const FileWork &lost) {
    while (next_ < count_) {
      add(next_, lost(next_));
    }
  }

 private:
  size_t count_;
  size_t next_ = 0;
  const VerdictSink &sink_;
  std::map<size_t, FileVerdict> waiting_;
};

// False at the end of the worker's pipe.
bool receive(Worker &worker, InOrder &verdicts) {
  char bytes[65536];
  const ssize_t count = ::read(worker.pipe, bytes, sizeof bytes);
  if (count <= 0) {
    return count < 0 && errno == EINTR;
  }
  worker.received.append(bytes, static_cast<size_t>(count));
  size_t index = 0;
  FileVerdict verdict;
  while (takeRecord(worker.received, index, verdict)) {
    verdicts.add(index, std::move(verdict));
  }
  return true;
}

void closeWorker(Worker &worker) {
  ::close(worker.pipe);
  ::waitpid(worker.process, nullptr, 0);
  worker.pipe = -1;
}

void collect(std::vector<Worker> &workers, InOrder &verdicts) {
  std::vector<pollfd> pipes;
  pipes.reserve(workers.size());
  for (const Worker &worker : workers) {
    pipes.push_back({worker.pipe, POLLIN, 0});
  }
  for (size_t open = workers.size(); open > 0;) {
    if (::poll(pipes.data(), pipes.size(), -1) < 0 && errno != EINTR) {
      return;
    }
    for (size_t at = 0; at < workers.size(); ++at) {
      if (pipes[at].fd >= 0 && pipes[at].revents != 0 && !receive(workers[at], verdicts)) {
        closeWorker(workers[at]);
        pipes[at].fd = -1;
        --open;
      }
    }
  }
}

void runInProcesses(size_t count, size_t processes, Counter *next, const FileWork &work,
                    const FileWork &lost, const VerdictSink &sink) {
  std::vector<Worker> workers;
  while (workers.size() < processes) {
    Worker worker = start(next, count, work);
    if (worker.pipe < 0) {
      break;
    }
    workers.push_back(std::move(worker));
  }
  InOrder verdicts(count, sink);
  collect(workers, verdicts);
  verdicts.finish(lost);
}

}  // namespace

void runInOrder(size_t count, size_t processes, const FileWork &work, const FileWork &lost,
                const VerdictSink &sink) {
  void *shared = MAP_FAILED;
  if (std::min(count, processes) > 1) {
    shared =
        ::mmap(nullptr, sizeof(Counter), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  }
  if (shared == MAP_FAILED) {
    for (size_t index = 0; index < count; ++index) {
      sink(index, work(index));
    }
    return;
  }
  runInProcesses(count, std::min(count, processes), new (shared) Counter(0), work, lost, sink);
  ::munmap(shared, sizeof(Counter));
}

}  // namespace talvo::cli
