#include "export/save_classes.h"

using namespace zr::save;

ZRAPI IZR_SaveFileType* CreateFileType(int32_t format) {
  switch (format) {
    case ZR_SAVE_EXCEL:
    case ZR_SAVE_EXCEL5:
    case ZR_SAVE_EXCEL8:
    case ZR_SAVE_EXCEL12:
    case ZR_SAVE_EXCEL12_SECOND:
      return nullptr;
    case ZR_SAVE_CSV:
      return newSaveCsv();
    case ZR_SAVE_SYLK:
      return newSaveSylk();
    case ZR_SAVE_WKS:
    case ZR_SAVE_WK1:
      return newSaveWk();
    case ZR_SAVE_DIF:
      return newSaveDif();
    case ZR_SAVE_DBASE2:
      return newSaveDbase2();
    case ZR_SAVE_DBASE3:
      return newSaveDbase3();
    case ZR_SAVE_SQL:
      return newSaveSql();
    case ZR_SAVE_XML:
      return newSaveXml();
    case ZR_SAVE_CLIPBOARD:
      return newSaveClip();
    default:
      return newSaveText();
  }
}
