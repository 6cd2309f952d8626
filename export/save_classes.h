// save_classes.h - the makers of the format classes behind CreateFileType.
// Objects live in a heap block that their creator frees without running a
// destructor, so every class is trivially destructible.
#ifndef ZR_EXPORT_SAVE_CLASSES_H
#define ZR_EXPORT_SAVE_CLASSES_H

#include <new>
#include <type_traits>

#include "zrheap.h"
#include "zrsave.h"

namespace zr::save {

template <class T>
IZR_SaveFileType* makeSaveObject() {
  static_assert(std::is_trivially_destructible_v<T>, "freed by ZrHeap_free alone");
  void* block = ZrHeap_malloc(sizeof(T));
  return block ? new (block) T() : nullptr;
}

IZR_SaveFileType* newSaveText();
IZR_SaveFileType* newSaveCsv();
IZR_SaveFileType* newSaveClip();
IZR_SaveFileType* newSaveSql();
IZR_SaveFileType* newSaveXml();
IZR_SaveFileType* newSaveDbase2();
IZR_SaveFileType* newSaveDbase3();
IZR_SaveFileType* newSaveDif();
IZR_SaveFileType* newSaveSylk();
IZR_SaveFileType* newSaveWk();

}  // namespace zr::save

#endif
