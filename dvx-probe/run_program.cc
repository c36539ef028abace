// Asking the programs of this system.
#include "dvx-probe/run_program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>

#include "base/descriptor.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::seconds(5);

// Reads until the other end is closed; false when that takes too long.
bool ReadAll(int fd, std::string* text) {
  const auto end = Clock::now() + kPatience;
  char buffer[4096];
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd input{fd, POLLIN, 0};
    if (left <= 0 || poll(&input, 1, static_cast<int>(left)) != 1) return false;
    const ssize_t size = read(fd, buffer, sizeof(buffer));
    if (size <= 0) return size == 0;
    text->append(buffer, static_cast<size_t>(size));
  }
}

// Starts it with its standard output going to that descriptor; -1 when it cannot be started.
pid_t Start(const std::string& path, const std::vector<std::string>& command, int output) {
  std::vector<char*> words;
  words.reserve(command.size() + 1);
  for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = -1;
  if (posix_spawn(&pid, path.c_str(), &actions, nullptr, words.data(), environ) != 0) pid = -1;
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

}  // namespace

std::optional<std::string> find_program(const std::string& name) {
  const char* path = getenv("PATH");
  const std::string folders = std::string(path != nullptr ? path : "") + ":/usr/sbin:/sbin:";
  size_t begin = 0;
  for (size_t end; (end = folders.find(':', begin)) != std::string::npos; begin = end + 1) {
    if (end == begin) continue;
    const std::string file = folders.substr(begin, end - begin) + "/" + name;
    if (access(file.c_str(), X_OK) == 0) return file;
  }
  return std::nullopt;
}

std::optional<std::string> output_of(const std::vector<std::string>& command) {
  const auto path = find_program(command.front());
  int ends[2];
  if (!path || pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  const Descriptor reading(ends[0]);
  Descriptor writing(ends[1]);
  const pid_t pid = Start(*path, command, ends[1]);
  if (pid < 0) return std::nullopt;
  writing = Descriptor();
  std::string text;
  const bool whole = ReadAll(reading.Get(), &text);
  if (!whole) kill(pid, SIGKILL);
  int status = 0;
  waitpid(pid, &status, 0);
  if (!whole || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
  return text;
}
