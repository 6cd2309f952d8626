// zrlib - look into and change library files from the command line.
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "library/lib_check.h"
#include "lmi.h"
#include "platform/utf8.h"

namespace {

namespace lib = zr::library;
using zr::platform::fromUtf8;
using zr::platform::toUtf8;

const char* const kUsage =
    "usage: zrlib <command> <library> [arguments]\n"
    "  create <library> [--comment TEXT]      make an empty library\n"
    "  info <library>                         header fields, blocks used and free\n"
    "  list <library>                         entries in tree order: size, time, comment\n"
    "  extract <library> <entry> [FILE]       one entry's data to FILE (default: the entry's name)\n"
    "  extract <library> --all <FOLDER>       every entry into FOLDER\n"
    "  add <library> FILE... [--comment TEXT] [--name ENTRY]\n"
    "                                         files as entries, named after the file\n"
    "  delete <library> <entry>...            remove entries\n"
    "  rename <library> <old> <new>           rename an entry within the library\n"
    "  check <library>                        read-only consistency check\n"
    "Every command takes --help. The exit status is non-zero on any problem.\n";

std::u16string wide(const std::string& text) { return fromUtf8(text.c_str()); }

int fail(const std::string& what, int code) {
  std::fprintf(stderr, "zrlib: %s (status %d)\n", what.c_str(), code);
  return 1;
}

struct Session {
  zrstg_handle* h = zrstg_begin(0);
  ~Session() { zrstg_end(h); }
  LMI_LIBRARY* open(const std::string& path, int mode) {
    std::u16string p = wide(path);
    return LMI_OpenLibrary(h->pool, p.data(), mode, 64000);
  }
};

int readRecord(LMI_LIBRARY*, uint8_t* record, void* user) {
  static_cast<std::vector<std::u16string>*>(user)->push_back(lib::recName(record));
  return 0;
}

std::vector<std::u16string> entryNames(LMI_LIBRARY* library) {
  std::vector<std::u16string> names;
  lib::walkRecords(library, readRecord, &names);
  library->entry = nullptr;
  return names;
}

int readEntry(LMI_LIBRARY* library, std::u16string name, std::vector<uint8_t>* data, std::u16string* comment) {
  int rc = LMI_OpenEntry(library, name.data(), LMI_ENTRY_READ, nullptr);
  if (rc < 0) return rc;
  if (comment) *comment = library->comment;
  std::vector<uint8_t> piece(65536);
  for (int32_t got; (got = LMI_ReadEntry(library, piece.data(), int32_t(piece.size()))) != 0;) {
    if (got < 0) {
      LMI_CloseEntry(library);
      return got;
    }
    data->insert(data->end(), piece.begin(), piece.begin() + got);
  }
  return LMI_CloseEntry(library);
}

int create(const std::vector<std::string>& args) {
  if (args.empty()) return fail("create needs a library path", -10);
  std::u16string comment;
  for (size_t i = 1; i + 1 < args.size(); ++i)
    if (args[i] == "--comment") comment = wide(args[i + 1]);
  Session s;
  std::u16string p = wide(args[0]);
  const int rc = LMI_CreateLibrary(s.h->pool, p.data(), comment.empty() ? nullptr : comment.c_str());
  return rc ? fail("cannot create " + args[0], rc) : 0;
}

int info(const std::vector<std::string>& args) {
  if (args.empty()) return fail("info needs a library path", -10);
  Session s;
  LMI_LIBRARY* library = s.open(args[0], LMI_LIBRARY_READ);
  if (!library) return fail("cannot open " + args[0] + " as a library", -3);
  const uint8_t* header = library->header;
  std::string version;
  for (int i = 0; i < 4; ++i) version += char(header[32 + 2 * i]);
  const time_t created = time_t(lib::load32(header + 40));
  char when[64];
  std::strftime(when, sizeof when, "%Y-%m-%d %H:%M:%S", std::localtime(&created));
  lib::CheckResult result;
  lib::checkLibrary(library, &result);
  std::printf("version        %s\nnode size      %d\ncreated        %s\ntype           %u\ncomment        %s\n",
              version.c_str(), library->nodeSize, when, lib::load16(header + 44) & 3u,
              toUtf8(reinterpret_cast<const char16_t*>(header + 46)).c_str());
  std::printf("version area   %u bytes at %u\nentries        %u in %u nodes\nblocks         %llu: %llu used, %llu free\n",
              lib::load32(header + 564), lib::load32(header + 560), result.entries, result.nodes,
              (unsigned long long)result.blocks, (unsigned long long)result.used, (unsigned long long)result.free);
  LMI_CloseLibrary(library);
  return 0;
}

int list(const std::vector<std::string>& args) {
  if (args.empty()) return fail("list needs a library path", -10);
  Session s;
  LMI_LIBRARY* library = s.open(args[0], LMI_LIBRARY_READ);
  if (!library) return fail("cannot open " + args[0] + " as a library", -3);
  int status = 0;
  for (std::u16string name : entryNames(library)) {
    LMI_ENTRY_INFO info{};
    const int rc = LMI_EntryInformation(library, name.data(), &info);
    if (rc) {
      status = fail("cannot describe " + toUtf8(name.c_str()), rc);
      continue;
    }
    const time_t t = time_t(info.time);
    char when[64];
    std::strftime(when, sizeof when, "%Y-%m-%d %H:%M:%S", std::localtime(&t));
    std::u16string comment;
    if (LMI_OpenEntry(library, name.data(), LMI_ENTRY_READ, nullptr) == 0) {
      comment = library->comment;
      LMI_CloseEntry(library);
    }
    std::printf("%-40s %10u  %s  %s\n", toUtf8(name.c_str()).c_str(), info.size, when, toUtf8(comment.c_str()).c_str());
  }
  LMI_CloseLibrary(library);
  return status;
}

// An entry name as a plain file name inside the target folder.
std::string fileName(const std::u16string& entry) {
  std::string name = toUtf8(entry.c_str());
  for (char& c : name)
    if (c == '/') c = '_';
  return name == "." || name == ".." ? "_" + name : name;
}

bool writeFile(const std::filesystem::path& path, const std::vector<uint8_t>& data) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(data.data()), std::streamsize(data.size()));
  return bool(out);
}

int extract(const std::vector<std::string>& args) {
  if (args.size() < 2) return fail("extract needs a library and an entry, or --all and a folder", -10);
  Session s;
  LMI_LIBRARY* library = s.open(args[0], LMI_LIBRARY_READ);
  if (!library) return fail("cannot open " + args[0] + " as a library", -3);
  int status = 0;
  if (args[1] == "--all") {
    const std::filesystem::path folder = args.size() > 2 ? args[2] : ".";
    std::filesystem::create_directories(folder);
    for (const std::u16string& name : entryNames(library)) {
      std::vector<uint8_t> data;
      const int rc = readEntry(library, name, &data, nullptr);
      if (rc) status = fail("cannot read " + toUtf8(name.c_str()), rc);
      else if (!writeFile(folder / fileName(name), data)) status = fail("cannot write " + toUtf8(name.c_str()), -3);
    }
  } else {
    std::vector<uint8_t> data;
    const int rc = readEntry(library, wide(args[1]), &data, nullptr);
    if (rc) status = fail("cannot read " + args[1], rc);
    else if (!writeFile(args.size() > 2 ? args[2] : args[1], data)) status = fail("cannot write the file", -3);
  }
  LMI_CloseLibrary(library);
  return status;
}

int add(const std::vector<std::string>& args) {
  std::vector<std::string> files;
  std::u16string comment, entry;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--comment" && i + 1 < args.size()) comment = wide(args[++i]);
    else if (args[i] == "--name" && i + 1 < args.size()) entry = wide(args[++i]);
    else files.push_back(args[i]);
  }
  if (args.empty() || files.empty()) return fail("add needs a library and files", -10);
  Session s;
  LMI_LIBRARY* library = s.open(args[0], LMI_LIBRARY_READWRITE);
  if (!library) return fail("cannot open " + args[0] + " as a library", -3);
  int status = 0;
  for (const std::string& file : files) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
      status = fail("cannot read " + file, -3);
      continue;
    }
    const std::vector<uint8_t> data{std::istreambuf_iterator<char>(in), {}};
    std::u16string name = entry.empty() ? wide(std::filesystem::path(file).filename().string()) : entry;
    int rc = LMI_OpenEntry(library, name.data(), LMI_ENTRY_WRITE, comment.empty() ? nullptr : comment.data());
    for (size_t at = 0; rc == 0 && at < data.size();) {
      const int32_t take = int32_t(std::min<size_t>(data.size() - at, 1 << 20));
      const int32_t wrote = LMI_WriteEntry(library, data.data() + at, take);
      if (wrote != take) rc = wrote < 0 ? wrote : -17;
      at += size_t(take);
    }
    const int closed = rc == 0 ? LMI_CloseEntry(library) : 0;
    if (rc || closed) status = fail("cannot add " + file, rc ? rc : closed);
  }
  const int closed = LMI_CloseLibrary(library);
  return status ? status : closed ? fail("cannot close " + args[0], closed) : 0;
}

int remove(const std::vector<std::string>& args) {
  if (args.size() < 2) return fail("delete needs a library and entries", -10);
  Session s;
  LMI_LIBRARY* library = s.open(args[0], LMI_LIBRARY_READWRITE);
  if (!library) return fail("cannot open " + args[0] + " as a library", -3);
  int status = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    std::u16string name = wide(args[i]);
    if (const int rc = LMI_DeleteEntry(library, name.data())) status = fail("cannot delete " + args[i], rc);
  }
  const int closed = LMI_CloseLibrary(library);
  return status ? status : closed ? fail("cannot close " + args[0], closed) : 0;
}

int rename(const std::vector<std::string>& args) {
  if (args.size() != 3) return fail("rename needs a library, an entry and its new name", -10);
  Session s;
  std::u16string p = wide(args[0]), from = wide(args[1]), to = wide(args[2]);
  const int rc = LMI_MoveEntry(s.h->pool, from.data(), to.data(), p.data(), nullptr);
  return rc ? fail("cannot rename " + args[1], rc) : 0;
}

int check(const std::vector<std::string>& args) {
  if (args.empty()) return fail("check needs a library path", -10);
  Session s;
  LMI_LIBRARY* library = s.open(args[0], LMI_LIBRARY_READ);
  if (!library) return fail("cannot open " + args[0] + " as a library", -3);
  lib::CheckResult result;
  const int rc = lib::checkLibrary(library, &result);
  LMI_CloseLibrary(library);
  if (rc) return fail("cannot read " + args[0], rc);
  for (const std::string& problem : result.problems) std::printf("%s\n", problem.c_str());
  std::printf("%u entries, %u nodes, %llu blocks: %zu problem(s)\n", result.entries, result.nodes,
              (unsigned long long)result.blocks, result.problems.size());
  return result.problems.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  for (const std::string& a : args) {
    if (a == "--help" || a == "-h") {
      std::fputs(kUsage, stdout);
      return 0;
    }
  }
  if (args.empty()) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  const std::string command = args[0];
  args.erase(args.begin());
  if (command == "create") return create(args);
  if (command == "info") return info(args);
  if (command == "list") return list(args);
  if (command == "extract") return extract(args);
  if (command == "add") return add(args);
  if (command == "delete") return remove(args);
  if (command == "rename") return rename(args);
  if (command == "check") return check(args);
  std::fprintf(stderr, "zrlib: unknown command %s\n%s", command.c_str(), kUsage);
  return 2;
}
