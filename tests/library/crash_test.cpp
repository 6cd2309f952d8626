// Writers killed at random points: the library still opens and every entry
// whose close had returned reads back whole, round after round on the same
// file.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <random>

#include "library/lib_engine.h"
#include "tests/library/library_fixture.h"

namespace {

struct Event {
  int32_t done;  // 0: about to write, 1: close returned
  int32_t entry;
  int32_t generation;
};

std::vector<uint8_t> content(int entry, int generation) {
  return pattern(size_t(generation) * 7919u % 30000u, uint32_t(generation * 31 + entry));
}

std::string entryName(int entry) { return "entry" + std::to_string(entry); }

[[noreturn]] void writeForever(const std::string& path, int out, uint32_t seed) {
  zr::library::setSyncEnabled(false);
  std::mt19937 rng(seed);
  zrstg_handle* h = zrstg_begin(0);
  Name p(path);
  const int buffers[] = {512, 0, 64000};
  LMI_LIBRARY* lib = LMI_OpenLibrary(h->pool, p, LMI_LIBRARY_READWRITE, buffers[rng() % 3]);
  if (!lib) _exit(2);
  for (int32_t generation = int32_t(seed % 100000) * 1000;; ++generation) {
    const int32_t entry = int32_t(rng() % 16);
    Event e{0, entry, generation};
    if (write(out, &e, sizeof e) != sizeof e) _exit(3);
    const std::vector<uint8_t> data = content(entry, generation);
    Name n(entryName(entry));
    if (LMI_OpenEntry(lib, n, LMI_ENTRY_WRITE, nullptr) != 0) _exit(4);
    for (size_t at = 0; at < data.size();) {
      const size_t take = std::min<size_t>(data.size() - at, 1 + rng() % 9000);
      if (LMI_WriteEntry(lib, data.data() + at, int32_t(take)) != int32_t(take)) _exit(5);
      at += take;
    }
    if (LMI_CloseEntry(lib) != 0) _exit(6);
    e.done = 1;
    if (write(out, &e, sizeof e) != sizeof e) _exit(3);
  }
}

class Crash : public LibraryTest {};

TEST_F(Crash, KilledWritersLeaveEveryClosedEntryWhole) {
  ASSERT_EQ(create("k.zrl"), 0);
  std::mt19937 rng(99);
  std::map<int, int> closed;  // entry -> generation whose close returned
  int kills = 0;
  for (int round = 0; kills < 220; ++round) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      close(fds[0]);
      writeForever(pathOf("k.zrl"), fds[1], uint32_t(round + 1));
    }
    close(fds[1]);
    usleep(useconds_t(500 + rng() % 15000));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer stopped by itself: " << WEXITSTATUS(status);
    ++kills;
    int inFlight = -1;
    for (Event e; read(fds[0], &e, sizeof e) == sizeof e;) {
      if (e.done) {
        closed[e.entry] = e.generation;
        inFlight = -1;
      } else {
        inFlight = e.entry;
      }
    }
    close(fds[0]);
    // The entry being written when the writer died may hold anything.
    if (inFlight >= 0) closed.erase(inFlight);

    LMI_LIBRARY* lib = open("k.zrl", LMI_LIBRARY_READ);
    ASSERT_NE(lib, nullptr) << "round " << round;
    for (const auto& [entry, generation] : closed)
      ASSERT_EQ(get(lib, entryName(entry)), content(entry, generation)) << "round " << round << " " << entry;
    ASSERT_EQ(LMI_CloseLibrary(lib), 0);
  }
  EXPECT_GE(closed.size(), 8u);
  const libcheck::Report r = libcheck::check(bytes("k.zrl"), true);
  for (const std::string& problem : r.problems)
    EXPECT_NE(problem.find("entry"), std::string::npos) << "only a chain cut by a kill may be wrong: " << problem;
}

}  // namespace
