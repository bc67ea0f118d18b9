// A plugin of qemu that counts the instructions of the program under it, and prints the number at its end.
//
// The interface is declared here because Debian has no package with its header: version 1, as qemu documents it.
#include <atomic>
#include <cinttypes>
#include <cstdint>
#include <cstdio>

extern "C" {

struct qemu_plugin_tb;
using qemu_plugin_id_t = std::uint64_t;
[[gnu::visibility("default")]] int qemu_plugin_version = 1;

void qemu_plugin_register_vcpu_tb_trans_cb(qemu_plugin_id_t id, void (*translated)(qemu_plugin_id_t, qemu_plugin_tb*));
void qemu_plugin_register_vcpu_tb_exec_cb(qemu_plugin_tb* block, void (*executed)(unsigned, void*), int flags,
                                          void* data);
void qemu_plugin_register_atexit_cb(qemu_plugin_id_t id, void (*ended)(qemu_plugin_id_t, void*), void* data);
std::size_t qemu_plugin_tb_n_insns(const qemu_plugin_tb* block);

static std::atomic<std::uint64_t> instructions{0};

static void blockTranslated(qemu_plugin_id_t, qemu_plugin_tb* block) {
  const auto add = [](unsigned, void* count) {
    instructions.fetch_add(reinterpret_cast<std::uintptr_t>(count), std::memory_order_relaxed);
  };
  constexpr int NO_REGISTERS = 0;
  // The data is the number itself, so that nothing has to outlive the block; no pointer is ever followed.
  void* const count = reinterpret_cast<void*>(qemu_plugin_tb_n_insns(block));  // NOLINT(performance-no-int-to-ptr)
  qemu_plugin_register_vcpu_tb_exec_cb(block, add, NO_REGISTERS, count);
}

[[gnu::visibility("default")]] int qemu_plugin_install(qemu_plugin_id_t id, const void*, int, char**) {
  qemu_plugin_register_vcpu_tb_trans_cb(id, blockTranslated);
  qemu_plugin_register_atexit_cb(
      id, [](qemu_plugin_id_t, void*) { std::fprintf(stderr, "%" PRIu64 "\n", instructions.load()); }, nullptr);
  return 0;
}
}
