// Frame exports: environment word, dynamic loading, assertions and output.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "platform/dialog.h"
#include "zrframe.h"

namespace {

TEST(Frame, EnvironmentWordStartsAtZeroAndKeepsWhatIsSet) {
  EXPECT_EQ(ZR_RT_GetEnvironment(), 0u);
  EXPECT_EQ(ZR_RT_SetEnvironment(0xABCD1234u), 0xABCD1234u);
  EXPECT_EQ(ZR_RT_GetEnvironment(), 0xABCD1234u);
  ZR_RT_SetEnvironment(0);
}

TEST(Frame, UnknownLocaleLeavesTheCurrentOne) {
  ZR_RT_SetLocale(u"C");
  EXPECT_EQ(std::u16string(ZR_RT_SetLocale(nullptr)), u"C");
  EXPECT_EQ(ZR_RT_SetLocale(u"no_such_locale.xyz"), nullptr);
  EXPECT_EQ(std::u16string(ZR_RT_SetLocale(nullptr)), u"C");
}

TEST(Frame, OpenLibFindsSystemLibraryOnSearchPathAndItsSymbols) {
  int result = -1, loaded = -1;
  ZR_HMODULE m = os_openlib(u"libm.so.6", &result, &loaded);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(result, 1);
  EXPECT_EQ(loaded, 1);
  EXPECT_NE(os_get_funcptr(u"cos", m), nullptr);
  EXPECT_EQ(os_get_funcptr(u"no_such_function_here", m), nullptr);
  EXPECT_EQ(os_closelib(m), 1);
}

TEST(Frame, OpenLibWithPathTriesThatPathOnly) {
  int result = -1, loaded = -1;
  // A backslash makes the name a path: it is not looked up on the search path.
  EXPECT_EQ(os_openlib(u"\\nowhere\\libm.so.6", &result, &loaded), nullptr);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(loaded, 0);
}

TEST(Frame, OpenLibMapsDllNameToSharedObjectBesideExecutable) {
  // A "...16.dll" name computed by a caller resolves to lib<stem>.so.
  char exe[4096];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  ASSERT_GT(n, 0);
  std::string dir(exe, static_cast<size_t>(n));
  dir.resize(dir.find_last_of('/'));
  std::string target = dir + "/libzrtestlib16.so";
  unlink(target.c_str());
  ASSERT_EQ(symlink("/lib/x86_64-linux-gnu/libm.so.6", target.c_str()), 0);
  int result = 0, loaded = 0;
  ZR_HMODULE m = os_openlib(u"zrtestlib16.dll", &result, &loaded);
  unlink(target.c_str());
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(loaded, 1);
  EXPECT_NE(os_get_funcptr(u"sin", m), nullptr);
  os_closelib(m);
}

struct CapturedBox {
  static inline std::u16string text, caption;
  static inline unsigned style = 0;
  static inline int answer = 0;
  static int handler(void*, const char16_t* t, const char16_t* c, unsigned s) {
    text = t;
    caption = c;
    style = s;
    return answer;
  }
};

TEST(Frame, FeatureUnsupportedBeepsAndShowsReleaseCaption) {
  auto old = zr::platform::setMessageBoxHandler(CapturedBox::handler);
  static int beeps = 0;
  auto oldBeep = zr::platform::setBeepHandler([](unsigned type) { beeps += type == 0; });
  CapturedBox::answer = ZR_IDOK;
  EXPECT_EQ(ZRSHR_FeatureUnsupported(nullptr), ZR_IDOK);
  EXPECT_EQ(beeps, 1);
  zr::platform::setBeepHandler(oldBeep);
  EXPECT_EQ(CapturedBox::caption, u"Release 16.5");
  EXPECT_EQ(CapturedBox::text, u"This feature is currently not supported on this platform");
  EXPECT_EQ(CapturedBox::style, 16u);
  zr::platform::setMessageBoxHandler(old);
}

TEST(Frame, AssertIgnoreReturnsAndAbortEnds) {
  auto old = zr::platform::setMessageBoxHandler(CapturedBox::handler);
  CapturedBox::answer = ZR_IDIGNORE;
  osAssert(u"x > 0", u"c:\\src\\a.cpp", 42);
  EXPECT_EQ(CapturedBox::text, u"x > 0,\nfile c:\\src\\a.cpp, line 42\n\nAbort, Debug Break, Ignore?");
  EXPECT_EQ(CapturedBox::caption, u"Assertion Failure");
  EXPECT_EQ(CapturedBox::style, 18u);
  zr::platform::setMessageBoxHandler(old);
  // The default handler answers abort, the first button of the box.
  EXPECT_DEATH(osAssert(u"broken", u"f.cpp", 7), "Assertion Failure: broken, file f.cpp, line 7");
}

TEST(Frame, DefaultAnswersFollowStyleAndDefaultButton) {
  EXPECT_EQ(zr::platform::defaultMessageBoxAnswer(ZR_MB_OK), ZR_IDOK);
  EXPECT_EQ(zr::platform::defaultMessageBoxAnswer(ZR_MB_YESNO | ZR_MB_DEFBUTTON2), ZR_IDNO);
  EXPECT_EQ(zr::platform::defaultMessageBoxAnswer(ZR_MB_YESNOCANCEL | ZR_MB_DEFBUTTON3), ZR_IDCANCEL);
  EXPECT_EQ(zr::platform::defaultMessageBoxAnswer(ZR_MB_RETRYCANCEL), ZR_IDRETRY);
}

std::u16string printed(const char16_t* format, ...) {
  char path[] = "/tmp/zrfmtXXXXXX";
  int fd = mkstemp(path);
  va_list args;
  va_start(args, format);
  int n = os_vfprintf(fd, format, args);
  va_end(args);
  lseek(fd, 0, SEEK_SET);
  std::u16string out(static_cast<size_t>(n), u'\0');
  EXPECT_EQ(read(fd, out.data(), 2 * out.size()), 2 * n);
  close(fd);
  unlink(path);
  return out;
}

TEST(Frame, WideFormattedOutput) {
  EXPECT_EQ(printed(u"%s=%d", u"n\u00e9", -42), u"n\u00e9=-42");
  EXPECT_EQ(printed(u"[%5d|%-5d|%05d]", 12, 12, -12), u"[   12|12   |-0012]");
  EXPECT_EQ(printed(u"%x %X %#x %lu", 255u, 255u, 255u, 4000000000ul), u"ff FF 0xff 4000000000");
  EXPECT_EQ(printed(u"%S%c%C%%", "ab", u'\u20ac', 'z'), u"ab\u20acz%");
  EXPECT_EQ(printed(u"%.2s|%5.3d", u"abc", 7), u"ab|  007");
  EXPECT_EQ(printed(u"%s", static_cast<const char16_t*>(nullptr)), u"(null)");
}

}  // namespace
