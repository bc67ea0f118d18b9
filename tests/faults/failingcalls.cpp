// Preloaded into a program, this library makes one of its calls to the system fail.
//
//   KESTO_FAULT="FAMILY NUMBER ERROR [on]"   call NUMBER (from 1) of the family fails with the error number ERROR, 0
//                                            for a read or write of one byte only; with "on" all later ones fail, too
//   KESTO_FAULT_REPORT=FILE                  the file's first 12 bytes become the number of the family's calls, the
//                                            number of those that failed, and 1 after a crash within the spooler's
//                                            library, three 32-bit words
//
// Counting begins with main. What the program forks still counts, what it executes does not. Nothing here allocates.
// The checked calls come as definitions of their own, which would stand in the way of these.
#undef _FORTIFY_SOURCE
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

// The C library's own allocator, and the checked forms of calls, have no declaration.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
int __libc_start_main(int (*program)(int, char**, char**), int argc, char** argv, void (*init)(), void (*fini)(),
                      void (*loaderFini)(), void* stackEnd);
}

namespace {

struct Report {
  std::atomic<std::uint32_t> calls;
  std::atomic<std::uint32_t> failed;
  std::atomic<std::uint32_t> libraryCrashed;
};

struct Plan {
  char family[16];
  std::uint32_t number;
  int error;
  bool lasting;
};

Plan plan;
Report nowhere;
Report* counts = &nowhere;
std::atomic<bool> armed{false};

int (*programMain)(int, char**, char**);
pid_t (*realFork)();
FILE* (*realFopen)(const char*, const char*);
int (*realThreadCreate)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

/// Counts a call of `family`. True when it is to fail, with errno set.
bool fails(const char* family) {
  if (!armed.load(std::memory_order_acquire) || std::strcmp(family, plan.family) != 0) return false;
  const std::uint32_t number = counts->calls.fetch_add(1) + 1;
  if (plan.lasting ? number < plan.number : number != plan.number) return false;
  counts->failed.fetch_add(1);
  errno = plan.error;
  return true;
}

/// The result of a system call that takes `count` bytes: failed, cut to one byte, or as it is.
template <class Call>
ssize_t transfer(const char* family, std::size_t count, Call call) {
  if (!fails(family)) return call(count);
  return plan.error == 0 ? call(std::min<std::size_t>(count, 1)) : -1;
}

int openFile(const char* path, int flags, mode_t mode) {
  return fails("open") ? -1 : static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

/// Looks whose instruction it was; the program then ends as it would have.
void onCrash(int, siginfo_t*, [[maybe_unused]] void* context) {
  void* instruction = nullptr;
#if defined(__x86_64__)
  std::memcpy(&instruction, &static_cast<const ucontext_t*>(context)->uc_mcontext.gregs[REG_RIP], sizeof instruction);
#elif defined(__aarch64__)
  std::memcpy(&instruction, &static_cast<const ucontext_t*>(context)->uc_mcontext.pc, sizeof instruction);
#endif
  Dl_info found = {};
  if (dladdr(instruction, &found) != 0 && std::strstr(found.dli_fname, "/libcups.so") != nullptr) {
    counts->libraryCrashed.store(1);
  }
}

void watchForCrash() {
  struct sigaction action = {};
  action.sa_sigaction = onCrash;
  action.sa_flags = SA_SIGINFO | static_cast<int>(SA_RESETHAND);
  sigaction(SIGSEGV, &action, nullptr);
}

void readPlan() {
  // Before main there is one thread. NOLINTBEGIN(concurrency-mt-unsafe)
  const char* text = std::getenv("KESTO_FAULT");
  const char* file = std::getenv("KESTO_FAULT_REPORT");
  if (text == nullptr || file == nullptr) return;
  const std::size_t length = strcspn(text, " ");
  if (length >= sizeof plan.family) return;
  std::memcpy(plan.family, text, length);
  char* rest = nullptr;
  plan.number = static_cast<std::uint32_t>(std::strtoul(text + length, &rest, 10));
  plan.error = static_cast<int>(std::strtol(rest, &rest, 10));
  plan.lasting = std::strcmp(rest, " on") == 0;
  const auto descriptor = static_cast<int>(syscall(SYS_openat, AT_FDCWD, file, O_RDWR | O_CLOEXEC, 0));
  void* shared = mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  close(descriptor);
  if (shared == MAP_FAILED) return;
  counts = static_cast<Report*>(shared);
  unsetenv("LD_PRELOAD");
  // NOLINTEND(concurrency-mt-unsafe)
  watchForCrash();
  armed.store(true, std::memory_order_release);
}

int runProgram(int argc, char** argv, char** environment) {
  readPlan();
  return programMain(argc, argv, environment);
}

template <class Function>
void findNext(Function& function, const char* name) {
  function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

/// What C++ allocates is a family of its own: when every malloc fails, the C library's own calls fail first and keep
/// whoever called them from coming to an allocation that throws.
void* operator new(std::size_t size) {
  void* const block = fails("new") ? nullptr : malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept {
  free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  free(block);
}

extern "C" {

int __libc_start_main(int (*program)(int, char**, char**), int argc, char** argv, void (*init)(), void (*fini)(),
                      void (*loaderFini)(), void* stackEnd) {
  decltype(&__libc_start_main) real = nullptr;
  findNext(real, "__libc_start_main");
  findNext(realFork, "fork");
  findNext(realFopen, "fopen");
  findNext(realThreadCreate, "pthread_create");
  programMain = program;
  return real(runProgram, argc, argv, init, fini, loaderFini, stackEnd);
}

void* malloc(std::size_t size) {
  return fails("malloc") ? nullptr : __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
  return fails("malloc") ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, std::size_t size) {
  return fails("malloc") ? nullptr : __libc_realloc(block, size);
}
int open(const char* path, int flags, ...) {
  std::va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return openFile(path, flags, mode);
}
[[gnu::alias("open")]] int open64(const char* path, int flags, ...);
int __open_2(const char* path, int flags) {
  return openFile(path, flags, 0);
}
[[gnu::alias("__open_2")]] int __open64_2(const char* path, int flags);
FILE* fopen(const char* path, const char* mode) {
  return fails("open") ? nullptr : realFopen(path, mode);
}

ssize_t read(int descriptor, void* bytes, std::size_t count) {
  return transfer("read", count, [&](std::size_t some) { return syscall(SYS_read, descriptor, bytes, some); });
}
ssize_t __read_chk(int descriptor, void* bytes, std::size_t count, std::size_t) {
  return read(descriptor, bytes, count);
}
ssize_t write(int descriptor, const void* bytes, std::size_t count) {
  return transfer("write", count, [&](std::size_t some) { return syscall(SYS_write, descriptor, bytes, some); });
}
ssize_t send(int descriptor, const void* bytes, std::size_t count, int flags) {
  return transfer("send", count,
                  [&](std::size_t some) { return syscall(SYS_sendto, descriptor, bytes, some, flags, nullptr, 0); });
}
ssize_t recv(int descriptor, void* bytes, std::size_t count, int flags) {
  return transfer("recv", count, [&](std::size_t some) {
    return syscall(SYS_recvfrom, descriptor, bytes, some, flags, nullptr, nullptr);
  });
}
ssize_t __recv_chk(int descriptor, void* bytes, std::size_t count, std::size_t, int flags) {
  return recv(descriptor, bytes, count, flags);
}

int poll(pollfd* list, nfds_t count, int timeout) {
  const timespec time = {timeout / 1000, timeout % 1000 * 1'000'000L};
  return fails("poll") ? -1
                       : static_cast<int>(syscall(SYS_ppoll, list, count, timeout < 0 ? nullptr : &time, nullptr, 0));
}
int __poll_chk(pollfd* list, nfds_t count, int timeout, std::size_t) {
  return poll(list, count, timeout);
}
int select(int count, fd_set* input, fd_set* output, fd_set* except, timeval* timeout) {
  const timespec time = timeout == nullptr ? timespec{} : timespec{timeout->tv_sec, timeout->tv_usec * 1000};
  return fails("poll") ? -1
                       : static_cast<int>(syscall(SYS_pselect6, count, input, output, except,
                                                  timeout == nullptr ? nullptr : &time, nullptr));
}
int pipe2(int ends[2], int flags) noexcept {
  return fails("pipe") ? -1 : static_cast<int>(syscall(SYS_pipe2, ends, flags));
}
int dup2(int from, int to) noexcept {
  return fails("dup") ? -1 : static_cast<int>(syscall(SYS_dup3, from, to, 0));
}
int unlink(const char* path) noexcept {
  return fails("unlink") ? -1 : static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}
int socket(int domain, int type, int protocol) noexcept {
  return fails("socket") ? -1 : static_cast<int>(syscall(SYS_socket, domain, type, protocol));
}
int connect(int descriptor, const sockaddr* address, socklen_t size) {
  return fails("connect") ? -1 : static_cast<int>(syscall(SYS_connect, descriptor, address, size));
}
int waitid(idtype_t type, id_t id, siginfo_t* result, int options) {
  return fails("wait") ? -1 : static_cast<int>(syscall(SYS_waitid, type, id, result, options, nullptr));
}
pid_t waitpid(pid_t child, int* status, int options) {
  return fails("wait") ? -1 : static_cast<pid_t>(syscall(SYS_wait4, child, status, options, nullptr));
}

pid_t fork() noexcept {
  return fails("fork") ? -1 : realFork();
}
int execvp(const char* path, char* const arguments[]) noexcept {
  return fails("exec") ? -1 : static_cast<int>(syscall(SYS_execve, path, arguments, environ));
}
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) noexcept {
  return fails("thread") ? plan.error : realThreadCreate(thread, attributes, body, argument);
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
