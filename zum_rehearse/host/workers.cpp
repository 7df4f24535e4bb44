#include "zum_rehearse/workers.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace zum_rehearse {
namespace {

constexpr std::size_t kResultsAWorker = 4;
constexpr int kProgressMilliseconds = 250;

bool WriteAll(int file, const void* data, std::size_t size) {
  const char* bytes = static_cast<const char*>(data);
  while (size != 0) {
    // A broken connection is an answer, not a signal.
    const ssize_t count = ::send(file, bytes, size, MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

bool ReadAll(int file, void* data, std::size_t size) {
  char* bytes = static_cast<char*>(data);
  while (size != 0) {
    const ssize_t count = ::read(file, bytes, size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

bool WriteText(int file, const std::string& text) {
  const std::uint64_t size = text.size();
  return WriteAll(file, &size, sizeof size) && WriteAll(file, text.data(), text.size());
}

bool ReadText(int file, std::string& text) {
  std::uint64_t size = 0;
  if (!ReadAll(file, &size, sizeof size)) return false;
  text.resize(size);
  return ReadAll(file, text.data(), text.size());
}

bool WriteRendered(int file, const Rendered& rendered) {
  return WriteAll(file, &rendered.status, sizeof rendered.status) &&
         WriteText(file, rendered.screen) && WriteText(file, rendered.page) &&
         WriteText(file, rendered.errors);
}

bool ReadRendered(int file, Rendered& rendered) {
  return ReadAll(file, &rendered.status, sizeof rendered.status) &&
         ReadText(file, rendered.screen) && ReadText(file, rendered.page) &&
         ReadText(file, rendered.errors);
}

struct Job {
  const std::vector<Source>& sources;
  const Options& options;
  const RenderForm& form;
};

Rendered Work(const Job& job, std::size_t index) {
  try {
    return Render(job.sources[index], job.options, job.form);
  } catch (const std::exception& error) {
    return RenderFailure(job.sources[index], job.options, job.form, error.what());
  }
}

// The life of a worker: it answers numbers of sources until nobody asks any more.
[[noreturn]] void Serve(const Job& job, int connection) {
  std::uint64_t index = 0;
  while (ReadAll(connection, &index, sizeof index)) {
    if (!WriteRendered(connection, Work(job, index))) break;
  }
  // Nothing of the parent's is flushed or torn down here.
  ::_exit(0);
}

class Worker {
 public:
  // `others` are the parent's ends that the new process must let go of.
  Worker(const Job& job, const std::vector<int>& others) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) Fail();
    m_process = ::fork();
    if (m_process < 0) Fail();
    if (m_process == 0) {
      for (const int other : others) (void)::close(other);
      (void)::close(ends[0]);
      Serve(job, ends[1]);
    }
    (void)::close(ends[1]);
    m_connection = ends[0];
  }
  Worker(Worker&& other) noexcept
      : busyWith(std::exchange(other.busyWith, std::nullopt)),
        m_connection(std::exchange(other.m_connection, -1)),
        m_process(std::exchange(other.m_process, -1)) {}
  Worker& operator=(Worker&& other) noexcept {
    std::swap(busyWith, other.busyWith);
    std::swap(m_connection, other.m_connection);
    std::swap(m_process, other.m_process);
    return *this;
  }
  ~Worker() {
    if (m_connection >= 0) (void)::close(m_connection);
    while (m_process > 0 && ::waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
    }
  }

  [[nodiscard]] int Connection() const { return m_connection; }

  void Ask(std::size_t index) {
    const std::uint64_t number = index;
    // A worker that is gone shows when its answer is read.
    (void)WriteAll(m_connection, &number, sizeof number);
    busyWith = index;
  }

  std::optional<std::size_t> busyWith;

 private:
  [[noreturn]] static void Fail() {
    throw std::system_error(errno, std::generic_category(), "a worker can't be started");
  }

  int m_connection = -1;
  pid_t m_process = -1;
};

class Pool {
 public:
  Pool(const Job& job, const std::function<void(const Rendered&)>& take,
       const std::function<void(std::size_t)>& progress)
      : m_job(job), m_take(take), m_progress(progress) {}

  void Run(std::size_t workers) {
    while (m_workers.size() < workers) Start();
    while (m_taken < m_job.sources.size()) {
      HandOut();
      Collect();
      TakeReady();
      m_progress(m_taken);
    }
  }

 private:
  [[nodiscard]] std::vector<int> Connections() const {
    std::vector<int> connections;
    for (const Worker& worker : m_workers) connections.push_back(worker.Connection());
    return connections;
  }

  void Start() { m_workers.emplace_back(m_job, Connections()); }

  void HandOut() {
    const std::size_t end =
        std::min(m_job.sources.size(), m_taken + kResultsAWorker * m_workers.size());
    for (Worker& worker : m_workers) {
      if (!worker.busyWith && m_next < end) worker.Ask(m_next++);
    }
  }

  void Collect() {
    std::vector<pollfd> waiting;
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < m_workers.size(); ++i) {
      if (!m_workers[i].busyWith) continue;
      waiting.push_back({m_workers[i].Connection(), POLLIN, 0});
      numbers.push_back(i);
    }
    if (::poll(waiting.data(), waiting.size(), kProgressMilliseconds) <= 0) return;
    for (std::size_t i = 0; i < waiting.size(); ++i) {
      if (waiting[i].revents != 0) Receive(numbers[i]);
    }
  }

  void Receive(std::size_t number) {
    Worker& worker = m_workers[number];
    const std::size_t index = *worker.busyWith;
    Rendered rendered;
    if (ReadRendered(worker.Connection(), rendered)) {
      worker.busyWith.reset();
    } else {
      rendered = RenderFailure(m_job.sources[index], m_job.options, m_job.form,
                               "the process that rehearsed this machine ended before it was done");
      worker = Worker(m_job, Connections());
    }
    m_ready.emplace(index, std::move(rendered));
  }

  void TakeReady() {
    for (auto found = m_ready.find(m_taken); found != m_ready.end();
         found = m_ready.find(m_taken)) {
      m_take(found->second);
      m_ready.erase(found);
      ++m_taken;
    }
  }

  const Job& m_job;
  const std::function<void(const Rendered&)>& m_take;
  const std::function<void(std::size_t)>& m_progress;
  std::vector<Worker> m_workers;
  std::map<std::size_t, Rendered> m_ready;
  std::size_t m_next = 0;
  std::size_t m_taken = 0;
};

}  // namespace

void RenderAll(const std::vector<Source>& sources, const Options& options, const RenderForm& form,
               const std::function<void(const Rendered&)>& take,
               const std::function<void(std::size_t)>& progress) {
  const Job job = {sources, options, form};
  const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
  Pool(job, take, progress).Run(std::min(cores, sources.size()));
}

}  // namespace zum_rehearse
