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

TEST(Exports, StorageNamesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr) << dlerror();
  for (const char* name : {
        "zrstg_begin", "zrstg_begin_allocflags", "zrstg_begin_nofast", "zrstg_end", "zrstg_new_pool",
        "zrstg_new_pool_nofast", "zrstg_new_pool_with_size_nofast", "zrstg_free_pool", "zrstg_set_pool_name",
        "zrstg_set_poolpagesize", "MemPoolSetPageSize", "zrstg_stat", "zrstg_nextGeneration", "zrstg_alc",
        "zrstg_realc", "zrstg_fee", "zrstg_sz", "zrstg_fast_strlen", "zrstg_alloc_align", "zrstg_dballoc",
        "zrstg_dbbegin", "zrstg_dbbegin_allocflags", "zrstg_dbrealloc", "zrstg_dbstrdup",
        "zrstg_get_pointer_subpool", "zrstg_realloc_align", "zrstg_set_next_pool", "zrstg_validate",
        "zrstg_dumpHeap", "zrstg_dumpLeaks", "zrstg_write_debug", "zrfstg_free", "zrstg_dde_alloc",
        "zrstg_dde_free", "zrstg_dde_get_handle", "zrstg_dde_lock", "zrstg_dde_unlock", "zrfstg_begin",
        "zrfstg_alloc", "zrfstg_get", "zrfstg_end"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
  EXPECT_EQ(dlsym(lib.handle, "MemPoolInit"), nullptr) << "MemPoolInit";
  EXPECT_EQ(dlsym(lib.handle, "MemAllocPtr"), nullptr) << "MemAllocPtr";
  EXPECT_EQ(dlsym(lib.handle, "MemSetErrorHandler"), nullptr) << "MemSetErrorHandler";
}

TEST(Exports, StringAndTextFileNamesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr) << dlerror();
  for (const char* name : {
        "zrstg_strdup", "zrstg_unicodestrdup", "zrstg_strtounicodedup", "zrstg_unicodetostrdup",
        "zrstg_strtoansidup", "zrstg_ansitostrdup", "zrstg_strtoprintabledup", "zrstg_printabletostrdup",
        "zrstg_strdup_malloc", "zrstg_str_build", "zrstg_unicodestr_build", "zrstg_str_build_huge",
        "zrstg_str_build_char", "zrstg_str_remove_char", "zrstg_str_trim_right", "zrstg_str_trim_left",
        "zrstg_str_trim", "zrstg_str_wordcap", "zrstg_ansitolower", "zrstg_ansitoupper", "zrstg_lchrcmp",
        "zrstg_lchrcmpi", "zrstg_huge_memcmp", "zrstg_huge_memcpy", "zrstg_huge_memmove", "zrstg_huge_memset",
        "zrstg_huge_strchr", "zrstg_huge_strcpy", "zrstg_huge_strlen", "zrstg_huge_strncpy",
        "zrstg_huge_strstr", "zrstg_strtol_imp", "zrstg_strtoul_imp", "zrstg_strtod_imp", "zrstg_atof_imp",
        "zrstg_atoi_imp", "zrstg_atol_imp", "zrstg_atou_imp", "zrstg_atoul_imp", "zrstg_remove_imp",
        "zrstg_strtoprintable", "zrstg_printabletostr", "zrstg_UCS2toUTF8", "zrstg_UTF8toUCS2",
        "zrstg_ansitostr_with_zero", "zrstg_strtoansi_with_zero", "unicode2UTF8", "UTF82unicode",
        "unistr2UTF8", "UTF82unistr", "mbstowcs_force", "ZRUNI_memchr", "zrstg_ansitobstr",
        "zrstg_unicodetobstr", "zrstg_strtobstr", "osTextFileRead", "osTextFileRead32", "osTextFileWrite",
        "osTextFileWrite32", "osConvTextLen", "osConvText", "HexAscii_Encrypt", "HexAscii_Decrypt"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
  EXPECT_EQ(dlsym(lib.handle, "ConvertToCodePage"), nullptr) << "ConvertToCodePage";
  EXPECT_EQ(dlsym(lib.handle, "ConvertFromCodePage"), nullptr) << "ConvertFromCodePage";
}

TEST(Exports, DateTimeAndFormattingNamesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr) << dlerror();
  for (const char* name :
       {"shdtBuildTime", "shdtNow", "shdtBuildTimeFromSystemTime", "shdtBuildSystemTimeFromSHTime", "shdtDiffDate",
        "shdtDiffTime", "shdtDiffMSec", "shdtDayOfWeek", "shdtDayName", "shdtRelativeDate", "shdtString",
        "shdtToMJDDate", "shdtToMJDTime", "shdtToMJDTimestamp", "shMJDDateTodt", "shMJDTimeTodt",
        "shMJDTimestampTodt", "shdtParse", "shdtParseEx", "shdtParseStringEx", "shdtParseStringExWithLcid",
        "shdtParseToString", "shformatDateTime", "shformatDateTimeWeb", "shformatDouble", "shformatDoubleWeb",
        "shformatLonglong", "shformatLonglongWeb", "shformatReal", "shformatRealWeb", "shformatDecimal",
        "shformatDecimalWeb", "shformatString"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
}

// Internal C++ code (namespace zr) and the standard library templates it
// instantiates are hidden; exported names are C names.
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
    for (const char* stdPrefix : {"_ZNSt", "_ZNKSt", "_ZSt", "_ZZNSt"})
      EXPECT_NE(name.rfind(stdPrefix, 0), 0u) << "standard library symbol exported: " << name;
    ++count;
  }
  pclose(nm);
  EXPECT_GT(count, 10);
}

TEST(Exports, ContainerNamesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr);
  for (const char* name :
       {"shlist_new", "shlist_delete", "shlist_deleteFree", "shlist_insert", "shlist_insert_at_curr",
        "shlist_addafter", "shlist_addbefore", "shlist_putafter", "shlist_remove", "shlist_update",
        "shlist_get_first", "shlist_get_last", "shlist_get_next", "shlist_get_prev", "shlist_get_curr",
        "shlist_get_count", "shlist_curr_node", "shlist_get_handle", "shlist_set_current", "shlist_traversal",
        "shlist_sort", "shlist_sort_param", "shhash_new", "shhash_new_arg", "shhash_insert", "shhash_search",
        "shhash_search_unique", "shhash_searchNext", "shhash_searchSlot", "shhash_remove", "shhash_clear",
        "shhash_delete", "shhash_get_first", "shhash_get_next", "shhash_traversal", "shhash_statistics",
        "sh_heapsort", "sh_hugeheapsort", "sh_heapsort_param", "sh_hugeheapsort_param", "sh_simplesort_param",
        "sh_hugesimplesort_param", "sh_binary_search", "sh_bin_search", "shBinSrch", "shBinSrchi",
        "sh_get_next_sequence_number", "sh_stringbuffer_appendstring", "sh_stringbuffer_appendchar",
        "sh_stringbuffer_appendbuffer", "sh_stringbuffer_reset", "sh_stringbuffer_delete", "sh_grwblk_init",
        "sh_new_grwblk", "sh_add_to_grwblk", "sh_append_to_grwblk", "sh_set_grwblk_item", "sh_grwblk_close",
        "sh_grwblk_delete"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
}

TEST(Exports, LibraryFileNamesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr);
  for (const char* name :
       {"LMI_CreateLibrary", "LMI_OpenLibrary", "LMI_CloseLibrary", "LMI_OpenEntry", "LMI_ReadEntry",
        "LMI_WriteEntry", "LMI_CloseEntry", "LMI_DeleteEntry", "LMI_EntryExists", "LMI_EntryInformation",
        "LMI_MoveEntry", "LMI_SetEntryVersion", "LMI_GetEntryVersion", "LMI_GetZRLBinaryType"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
}

TEST(Exports, KernelObjectClassesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr);
  for (const char* name :
       {"_ZN9CZR_EventC1EiiPKDsPv", "_ZN9CZR_Event3SetEv", "_ZN9CZR_MutexC1EiPKDsPv", "_ZN9CZR_Mutex7ReleaseEv",
        "_ZN13CZR_SemaphoreC1EiiPKDsPv", "_ZN13CZR_Semaphore7ReleaseEiPi", "_ZN10CZR_ThreadC1EP17CZR_ThreadHandlerjPvj",
        "_ZN10CZR_Thread6ResumeEv", "_ZN10CZR_Kernel4WaitEj", "_ZN11CZR_CritSec5EnterEv", "_ZN11CZR_CritSec5LeaveEv",
        "_ZN13ZR_ScopedLockC1EP11CZR_CritSec", "_ZN13ZR_ScopedLockD1Ev", "_ZN22CZR_WaitableCollection7WaitAllEj",
        "_ZN22CZR_GrowableThreadPoolC1Eiij", "_ZN22CZR_GrowableThreadPool8DispatchER18CZR_DispatchRecord",
        "_ZTV9CZR_Event", "_ZTI10CZR_Kernel", "_ZTI17CZR_KernelFailure", "_ZTI17CZR_ThreadHandler"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
}

}  // namespace

TEST(Exports, SaveNamesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr) << dlerror();
  for (const char* name : {"CreateFileType", "osSaveBegin", "osSaveBegin32", "osSaveBegin32Web", "InitDataExporter",
                           "osSaveEnd", "osFileOpenNew32", "osFileWrite32", "osFileClose32", "osFileOpenNew",
                           "osFileWrite", "osFileClose"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
}

TEST(Exports, ObjectNamesAreVisible) {
  Library lib;
  ASSERT_NE(lib.handle, nullptr) << dlerror();
  for (const char* name :
       {"CreateBlob", "CreateBlobWithSize", "CreateBlobFromBytes", "CreateBlobFromLPTSTR", "CreateString",
        "CreateStringBuffer", "CreateStringBufferFromLPTSTR", "CreateEnumUnknown", "ZR_CreateZRObjectFactory",
        "CreateList", "CreateListFromArray", "CreateDecimal", "CreateDecimalFromPSH_DEC", "CreateDecimalFromLong",
        "CreateDecimalFromDouble", "CreateDecimalFromLPTSTR", "CopyDecimalToPSH_DEC", "CreateDateTimeFromLPTSTR",
        "CreateDateFromLPTSTR", "CreateTimeFromLPTSTR", "CreateDateTimeFromString", "CreateDateFromString",
        "CreateTimeFromString", "CreateDateTimeFromPSH_TIME", "CreateDateFromPSH_TIME", "CreateTimeFromPSH_TIME",
        "CopyDateTimeToPSH_TIME", "CopyDateToPSH_TIME", "CopyTimeToPSH_TIME", "CreateDynamicVector",
        "CreateDynamicVectorWithSize", "CreateDynamicVectorFromArray", "CreateStringDictionary",
        "CreateStringDictionaryWithSize", "CreateStringDictionaryWithFlags", "CreateUlongDictionary",
        "CreateUlongDictionaryWithSize", "CreateUlongDictionaryWithFlags", "ZR_CreatePropertySet",
        "IID_IUnknown", "IID_IZR_String", "IID_IZR_PropertySet", "_ZTV18CZR_DictionaryImpl",
        "shmi_CreateDataBlob", "shmi_DataBlob_AddRef", "shmi_DataBlob_Release", "shmi_DataBlob_addByte",
        "shmi_DataBlob_addBool", "shmi_DataBlob_addShort", "shmi_DataBlob_addUShort", "shmi_DataBlob_addChar",
        "shmi_DataBlob_addLong", "shmi_DataBlob_addULong", "shmi_DataBlob_addFloat", "shmi_DataBlob_addDouble",
        "shmi_DataBlob_addString", "shmi_DataBlob_addBytes", "shmi_DataBlob_addDecimal", "shmi_DataBlob_addShBlob",
        "shmi_DataBlob_addDateTime", "shmi_DataBlob_Reserve", "shmi_DataBlob_GetSize", "shmi_DataBlob_SetSize",
        "shmi_DataBlob_Reset", "shmi_DataBlob_DoingBlockWrite", "shmi_DataBlob_GetBlockPointer",
        "shmi_DataBlob_Advance", "shmi_DataBlob_GetDataIterator", "shmi_DataBlob_GetBlobIterator",
        "shmi_DataIter_AddRef", "shmi_DataIter_Release", "shmi_DataIter_Reset", "shmi_DataIter_GetSize",
        "shmi_DataIter_MoveTo", "shmi_DataIter_GetCurrentPosition", "shmi_DataIter_GetBlockPointer",
        "shmi_DataIter_Advance", "shmi_DataIter_GetByte", "shmi_DataIter_GetBool", "shmi_DataIter_GetShort",
        "shmi_DataIter_GetUShort", "shmi_DataIter_GetChar", "shmi_DataIter_GetLong", "shmi_DataIter_GetULong",
        "shmi_DataIter_GetFloat", "shmi_DataIter_GetDouble", "shmi_DataIter_GetString", "shmi_DataIter_GetDecimal",
        "shmi_DataIter_GetShBlob", "shmi_DataIter_GetDateTime", "shmi_DataIter_GetBytes", "shFlipShort",
        "shFlipLong", "shFlipLonglong", "shFlipDouble", "shFlipTimeT", "shFlipSHDEC", "shFlipSHTime",
        "shFlipDataLoop", "shFlipDataLoopNative", "shSetFlipDataNative", "shGetFlipDataNative",
        "_ZN14CZR_StringImpl7ReleaseEv", "_ZTV12CZR_BlobImpl"}) {
    EXPECT_NE(dlsym(lib.handle, name), nullptr) << name;
  }
}
