/* A C caller of the interface objects, linked to libzrshr.so alone: every
   slot of every table is reached through the table structs, secondary
   tables included, so a slot out of order or a missing export fails here. */
#include <stdio.h>
#include <string.h>

#include "zrobj.h"

static int failures;

#define CHECK(cond)                                               \
  do {                                                            \
    if (!(cond)) {                                                \
      fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #cond); \
      ++failures;                                                 \
    }                                                             \
  } while (0)

/* Calls through the first three slots of any table. */
#define QI(obj, iid, out) ((obj)->lpVtbl->QueryInterface((obj), &(iid), (void**)(out)))
#define ADDREF(obj) ((obj)->lpVtbl->AddRef(obj))
#define RELEASE(obj) ((obj)->lpVtbl->Release(obj))

static int sameText(const char16_t* a, const char16_t* b) {
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

static IZR_String* str(const char16_t* text) {
  IZR_String* s = NULL;
  CHECK(CreateString(text, &s) == S_OK);
  return s;
}

static void strings(void) {
  IZR_String *s = str(u"Hello"), *lo = str(u"lo"), *out = NULL;
  const IZR_StringVtbl* v = s->lpVtbl;
  const char16_t* text;
  uint32_t n;
  int32_t r;
  char16_t c;
  IUnknown* unknown;

  CHECK(ADDREF(s) == 2 && RELEASE(s) == 1);
  CHECK(QI(s, IID_IUnknown, &unknown) == S_OK && (void*)unknown == (void*)s);
  RELEASE(unknown);
  CHECK(v->Compare(s, lo, &r) == S_OK && r == -1);
  CHECK(v->CompareNoCase(s, s, &r) == S_OK && r == 0);
  CHECK(v->GetText(s, &text) == S_OK && sameText(text, u"Hello"));
  CHECK(v->GetLength(s, &n) == S_OK && n == 6);
  CHECK(v->GetChar(s, 1, &c) == S_OK && c == u'e');
  CHECK(v->SubString(s, 1, 2, &out) == S_OK);
  out->lpVtbl->GetText(out, &text);
  CHECK(sameText(text, u"el"));
  RELEASE(out);
  CHECK(v->Concat(s, lo, &out) == S_OK);
  out->lpVtbl->GetText(out, &text);
  CHECK(sameText(text, u"Hellolo"));
  RELEASE(out);
  CHECK(v->ToUpper(s, &out) == S_OK);
  out->lpVtbl->GetText(out, &text);
  CHECK(sameText(text, u"HELLO"));
  RELEASE(out);
  CHECK(v->ToLower(s, &out) == S_OK);
  out->lpVtbl->GetText(out, &text);
  CHECK(sameText(text, u"hello"));
  RELEASE(out);
  CHECK(v->Trim(s, u'H', -1, &out) == S_OK);
  out->lpVtbl->GetText(out, &text);
  CHECK(sameText(text, u"ello"));
  RELEASE(out);
  CHECK(v->Find(s, 0, lo, &n) == S_OK && n == 3);

  IZR_ConvBlob* conv = NULL;
  IZR_Blob* blob = NULL;
  CHECK(QI(s, IID_IZR_ConvBlob, &conv) == S_OK && (void*)conv != (void*)s);
  CHECK(QI(conv, IID_IUnknown, &unknown) == S_OK && (void*)unknown == (void*)s);
  RELEASE(unknown);
  CHECK(ADDREF(conv) == 3 && RELEASE(conv) == 2);
  CHECK(conv->lpVtbl->AsBlob(conv, &blob) == S_OK);
  CHECK(blob->lpVtbl->GetSize(blob, &n) == S_OK && n == 12);
  RELEASE(blob);
  CHECK(RELEASE(conv) == 1);
  CHECK(RELEASE(s) == 0);
  RELEASE(lo);
}

static void buffers(void) {
  IZR_StringBuffer *b = NULL, *copy = NULL;
  IZR_String *world = str(u" world"), *out = NULL;
  const char16_t* text;
  uint32_t n;
  int32_t r;
  char16_t c;
  CHECK(CreateStringBufferFromLPTSTR(u"hello", &b) == S_OK);
  const IZR_StringBufferVtbl* v = b->lpVtbl;
  CHECK(v->Clone(b, &copy) == S_OK);
  CHECK(v->GetText(b, &text) == S_OK && sameText(text, u"hello"));
  CHECK(v->GetLength(b, &n) == S_OK && n == 6);
  CHECK(v->Compare(b, copy, &r) == S_OK && r == 0);
  CHECK(v->CompareNoCase(b, copy, &r) == S_OK && r == 0);
  CHECK(v->SetChar(b, 0, u'j') == S_OK);
  CHECK(v->GetChar(b, 0, &c) == S_OK && c == u'j');
  CHECK(v->SubString(b, 1, 3, &out) == S_OK);
  RELEASE(out);
  CHECK(v->Append(b, world) == S_OK);
  CHECK(v->Insert(b, 0, world) == S_OK);
  CHECK(v->Remove(b, 0, 1) == S_OK);
  CHECK(v->Replace(b, 0, 5, world) == S_OK);
  CHECK(v->ToUpper(b) == S_OK);
  CHECK(v->ToLower(b) == S_OK);
  CHECK(v->Trim(b, u' ', 0) == S_OK);
  v->GetText(b, &text);
  CHECK(sameText(text, u"worldjello world"));
  CHECK(v->Find(b, 0, world, &n) == S_OK && n == 10);
  CHECK(v->SetText(b, u"abc") == S_OK);
  CHECK(v->SetFromString(b, world) == S_OK);
  v->GetText(b, &text);
  CHECK(sameText(text, u" world"));

  IZR_ConvBlob* convBlob = NULL;
  IZR_ConvString* convString = NULL;
  IZR_Blob* blob = NULL;
  IUnknown* unknown = NULL;
  CHECK(QI(b, IID_IZR_ConvBlob, &convBlob) == S_OK);
  CHECK(QI(b, IID_IZR_ConvString, &convString) == S_OK);
  CHECK((void*)convBlob != (void*)b && (void*)convString != (void*)convBlob);
  CHECK(QI(convString, IID_IUnknown, &unknown) == S_OK && (void*)unknown == (void*)b);
  RELEASE(unknown);
  CHECK(ADDREF(convString) == 4 && RELEASE(convString) == 3);
  CHECK(convBlob->lpVtbl->AsBlob(convBlob, &blob) == S_OK);
  CHECK(convString->lpVtbl->AsString(convString, &out) == S_OK);
  out->lpVtbl->GetLength(out, &n);
  CHECK(n == 7);
  RELEASE(out);
  RELEASE(blob);
  RELEASE(convBlob);
  RELEASE(convString);
  CHECK(RELEASE(b) == 0);
  RELEASE(copy);
  RELEASE(world);
}

static void blobs(void) {
  static const uint8_t bytes[] = {'a', 0, 'b', 0, 0, 0};
  IZR_Blob *b = NULL, *out = NULL;
  const uint8_t* data;
  uint32_t n;
  CHECK(CreateBlobFromBytes(bytes, 6, &b) == S_OK);
  const IZR_BlobVtbl* v = b->lpVtbl;
  CHECK(v->GetSize(b, &n) == S_OK && n == 6);
  CHECK(v->GetData(b, &data) == S_OK && memcmp(data, bytes, 6) == 0);
  CHECK(v->SubBlob(b, 2, 10, &out) == S_OK);
  out->lpVtbl->GetSize(out, &n);
  CHECK(n == 4);
  RELEASE(out);
  CHECK(v->InsertBytes(b, 0, bytes, 2, &out) == S_OK);
  out->lpVtbl->GetSize(out, &n);
  CHECK(n == 8);
  IZR_Blob* twice = NULL;
  CHECK(v->InsertBlob(b, 6, out, &twice) == S_OK);
  twice->lpVtbl->GetSize(twice, &n);
  CHECK(n == 14);
  RELEASE(twice);
  RELEASE(out);
  IZR_ConvString* conv = NULL;
  IZR_String* s = NULL;
  const char16_t* text;
  CHECK(QI(b, IID_IZR_ConvString, &conv) == S_OK && (void*)conv != (void*)b);
  CHECK(ADDREF(conv) == 3 && RELEASE(conv) == 2);
  CHECK(conv->lpVtbl->AsString(conv, &s) == S_OK);
  s->lpVtbl->GetText(s, &text);
  CHECK(sameText(text, u"ab"));
  RELEASE(s);
  RELEASE(conv);
  CHECK(RELEASE(b) == 0);
}

static void enumeratorsListsAndFactory(void) {
  IZR_ObjectFactory* factory = NULL;
  IZR_List* list = NULL;
  IZR_String *a = NULL, *b = NULL;
  CHECK(ZR_CreateZRObjectFactory(&factory) == S_OK);
  CHECK(ADDREF(factory) == 2 && RELEASE(factory) == 1);
  IUnknown* unknown = NULL;
  CHECK(QI(factory, IID_IUnknown, &unknown) == S_OK);
  RELEASE(unknown);
  CHECK(factory->lpVtbl->CreateString(factory, u"a", &a) == S_OK);
  CHECK(factory->lpVtbl->CreateString(factory, u"b", &b) == S_OK);
  CHECK(factory->lpVtbl->CreateList(factory, &list) == S_OK);
  RELEASE(factory);

  const IZR_ListVtbl* v = list->lpVtbl;
  IUnknown *ua = (IUnknown*)a, *ub = (IUnknown*)b, *got = NULL;
  uint32_t n;
  int empty;
  CHECK(ADDREF(list) == 2 && RELEASE(list) == 1);
  CHECK(QI(list, IID_IZR_List, &unknown) == S_OK);
  RELEASE(unknown);
  CHECK(v->AddTail(list, ub) == S_OK);
  CHECK(v->AddHead(list, ua) == S_OK);
  CHECK(v->InsertAfter(list, ua, ub) == S_OK);
  CHECK(v->InsertBefore(list, ua, ub) == S_OK); /* b a b b */
  CHECK(v->GetNext(list, ua, &got) == S_OK && got == ub);
  RELEASE(got);
  got = NULL;
  CHECK(v->GetPrevious(list, ua, &got) == S_OK && got == ub);
  RELEASE(got);
  CHECK(v->Remove(list, ua) == S_OK);
  CHECK(v->Contains(list, ua) == E_FAIL);
  CHECK(v->GetCount(list, &n) == S_OK && n == 3);
  CHECK(v->IsEmpty(list, &empty) == S_OK && empty == 0);
  CHECK(v->RemoveHead(list, &got) == S_OK && got == ub);
  RELEASE(got);
  CHECK(v->RemoveTail(list, &got) == S_OK && got == ub);
  RELEASE(got);

  IEnumUnknown *e = NULL, *clone = NULL;
  IZR_List* copy = NULL;
  CHECK(v->Clone(list, &copy) == S_OK);
  CHECK(v->Enumerate(copy, &e) == S_OK);
  const IEnumUnknownVtbl* ev = e->lpVtbl;
  CHECK(ADDREF(e) == 2 && RELEASE(e) == 1);
  CHECK(QI(e, IID_IEnumUnknown, &unknown) == S_OK);
  RELEASE(unknown);
  CHECK(ev->Next(e, 1, &got, NULL) == S_OK && got == ub);
  RELEASE(got);
  CHECK(ev->Next(e, 1, &got, &n) == S_FALSE);
  CHECK(ev->Reset(e) == S_OK);
  CHECK(ev->Skip(e, 1) == S_FALSE);
  CHECK(ev->Clone(e, &clone) == S_OK);
  RELEASE(clone);
  RELEASE(e);
  CHECK(v->RemoveAll(copy) == S_OK);
  RELEASE(copy);
  CHECK(RELEASE(list) == 0);
  CHECK(RELEASE(a) == 0);
  CHECK(RELEASE(b) == 0);
}

int main(void) {
  strings();
  buffers();
  blobs();
  enumeratorsListsAndFactory();
  if (failures) fprintf(stderr, "%d checks failed\n", failures);
  return failures != 0;
}
