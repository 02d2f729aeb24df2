// Child processes under a watchdog for the fuzzers.
#include "runner.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

namespace kvfuzz {

const char* verdictName(Verdict v) {
  switch (v) {
    case Verdict::Ok: return "ok";
    case Verdict::Crash: return "crash";
    case Verdict::Hang: return "hang";
    case Verdict::Memory: return "runaway memory";
    case Verdict::Sanitizer: return "sanitizer report";
    case Verdict::Status: return "unexpected exit status";
  }
  return "?";
}

std::string readText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void writeText(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
}

std::string sanitizerLine(const std::string& text) {
  for (const char* mark : {"ERROR: AddressSanitizer", "ERROR: LeakSanitizer", "runtime error:",
                           "ERROR: UndefinedBehaviorSanitizer", "AddressSanitizer:DEADLYSIGNAL"}) {
    std::size_t at = text.find(mark);
    if (at == std::string::npos) continue;
    std::size_t begin = text.rfind('\n', at);
    begin = begin == std::string::npos ? 0 : begin + 1;
    return text.substr(begin, text.find('\n', at) - begin);
  }
  return {};
}

namespace {

// Resident size of a process in megabytes (0 when it is gone).
std::uint64_t residentMegabytes(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/statm");
  std::uint64_t size = 0, resident = 0;
  if (!(in >> size >> resident)) return 0;
  return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

[[noreturn]] void execChild(const std::vector<std::string>& argv, const std::string& folder) {
  setpgid(0, 0);
  if (chdir(folder.c_str()) != 0) _exit(126);
  int in = open("/dev/null", O_RDONLY);
  int out = open("out.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644);
  int err = open("err.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (in < 0 || out < 0 || err < 0) _exit(126);
  dup2(in, 0), dup2(out, 1), dup2(err, 2);
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  execv(args[0], args.data());
  _exit(127);
}

}  // namespace

Outcome runChild(const std::vector<std::string>& argv, const std::string& folder, const Limits& limits,
                 int expectStatus) {
  Outcome o;
  auto start = std::chrono::steady_clock::now();
  pid_t pid = fork();
  if (pid < 0) {
    o.verdict = Verdict::Status;
    o.detail = "cannot fork";
    return o;
  }
  if (pid == 0) execChild(argv, folder);
  setpgid(pid, pid);
  int status = 0;
  bool killedFor = false;
  for (int tick = 0;; ++tick) {
    pid_t done = waitpid(pid, &status, WNOHANG);
    if (done == pid) break;
    double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!killedFor && elapsed > limits.seconds) {
      o.verdict = Verdict::Hang;
      o.detail = "no end after " + std::to_string(limits.seconds) + " s";
      killedFor = true;
    } else if (!killedFor && tick % 10 == 0 && residentMegabytes(pid) > limits.megabytes) {
      o.verdict = Verdict::Memory;
      o.detail = "resident memory past " + std::to_string(limits.megabytes) + " MB";
      killedFor = true;
    }
    if (killedFor) {
      kill(-pid, SIGKILL);
      waitpid(pid, &status, 0);
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(tick < 100 ? 2 : 20));
  }
  kill(-pid, SIGKILL);  // anything the child left running in its group
  o.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (killedFor) return o;
  std::string report = sanitizerLine(readText(folder + "/err.txt"));
  if (!report.empty()) {
    o.verdict = Verdict::Sanitizer;
    o.detail = report;
    o.status = WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status);
  } else if (WIFSIGNALED(status)) {
    o.verdict = Verdict::Crash;
    o.status = WTERMSIG(status);
    o.detail = std::string("signal ") + strsignal(o.status);
  } else if (WEXITSTATUS(status) != expectStatus) {
    o.verdict = Verdict::Status;
    o.status = WEXITSTATUS(status);
    o.detail = "exit status " + std::to_string(o.status);
  }
  return o;
}

}  // namespace kvfuzz
