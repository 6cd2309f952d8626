// The shared library shows exactly its exported names and hides the rest.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

struct Library {
  void* handle = dlopen(ZRSHR_SO, RTLD_NOW | RTLD_LOCAL);
  ~Library() {
    if (handle) dlclose(handle);
  }
};

TEST(Exports, FrameAndHeapNamesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr) << dlerror();
  for (const char* name :
       {"WEP", "ZRSHR_FeatureUnsupported", "ZR_RT_SetEnvironment", "ZR_RT_GetEnvironment", "ZR_RT_SetLocale",
        "os_openlib", "os_closelib", "os_get_funcptr", "shGetInstance", "shIsTerminalServiceClientSession",
        "osAssert", "os_vfprintf", "_os_fprintf", "ZrHeap_init", "ZrHeap_alloc", "ZrHeap__alloc", "ZrHeap_malloc",
        "ZrHeap_calloc", "ZrHeap_realloc", "ZrHeap_free", "ZrHeap_freeIfParent", "ZrHeap_adopt", "ZrHeap_parent",
        "ZrHeap_size", "ZrHeap_sizeEx", "ZrHeap_resize", "ZrHeap_allocPool", "ZrHeap_freePool",
        "ZrHeap_allocFromPool", "ZrHeap_poolSize", "ZrHeap_userData", "ZrHeap_totalSizeVM", "ZrHeap_debugOn",
        "ZrHeap_debugOff", "ZrHeap_checkOn", "ZrHeap_checkOff", "ZrHeap_traceOn", "ZrHeap_traceOff",
        "ZrHeap_check", "ZrHeap_checkAll", "ZrHeap_dump", "ZrHeap_log", "ZrHeap_error", "ZrHeap_exception",
        "ZrHeap_setCheckInterval", "ZrHeap_showFullPath", "ZrHeap_showBufferMaximumBytes"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
}

TEST(Exports, DecimalNamesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr) << dlerror();
  for (const char* name :
       {"shCompareDec", "shMaxDec", "shMinDec", "shAbsDec", "shNegateDec", "shRoundDec", "shTruncDec", "shAddDec",
        "shSubDec", "shMultDec", "shDivDec", "shModDec", "shExpDec", "shIntToDec", "shUintToDec", "shByteToDec",
        "shLongToDec", "shUlongToDec", "shLonglongToDec", "shDecToInt", "shDecToUint", "shDecToByte", "shDecToLong",
        "shDecToUlong", "shDecToLonglong", "shDecToFloat", "shDecToDouble", "shFloatToDec", "shDoubleToDec",
        "shDecToAscii", "shAsciiToDec", "shAsciiToDecRnd", "shDecToBCD", "shBCDToDec", "shSetDecFractions",
        "shSetDecNegative", "shDecSetOverflow", "sh_MAX_DEC", "ConvertOldDecToString"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
}

TEST(Exports, IntlAndMaskNamesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr) << dlerror();
  for (const char* name :
       {"zrshr_intl", "shIsValidReal", "shIsValidRealWeb", "shIsValidRealNoLocale", "shNormalizeReal",
        "shNormalizeRealWeb", "shNormalizeRealbyLocale", "shNormalizeRealbyLocaleWeb", "shIsCharRTL",
        "shIsCharHebrew", "shIsCharArabic", "shZRUnitConvert", "shformatCmplNumericMask",
        "shformatCmplNumericMaskWeb", "shformatCmplNumericMaskWebCommasPos", "shformatCmplDateTimeMask",
        "shformatCmplDateTimeMaskWeb", "shformatCmplStringMask", "shformatErrorString", "getCultureValueStr",
        "getCultureValueInt"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
}

// Internal C++ code (namespace zr) is hidden; exported names are C names.
TEST(Exports, InternalNamespaceIsHidden) {
  std::string command = std::string("nm -D --defined-only ") + ZRSHR_SO;
  FILE* nm = popen(command.c_str(), "r");
  ASSERT_NE(nm, nullptr);
  char line[1024];
  int count = 0;
  while (fgets(line, sizeof line, nm)) {
    std::string name = line;
    name = name.substr(name.find_last_of(' ') + 1);
    name.pop_back();
    EXPECT_EQ(name.find("2zr"), std::string::npos) << "internal symbol exported: " << name;
    ++count;
  }
  pclose(nm);
  EXPECT_GT(count, 10);
}

}  // namespace
