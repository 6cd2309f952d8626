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

static void decimals(void) {
  IZR_Decimal *a = NULL, *b = NULL, *out = NULL;
  const SH_DEC* value;
  double d;
  int32_t r;
  CHECK(CreateDecimalFromLong(7, &a) == S_OK);
  CHECK(CreateDecimalFromLPTSTR(u"2", &b) == S_OK);
  const IZR_DecimalVtbl* v = a->lpVtbl;
  IUnknown* unknown;
  CHECK(ADDREF(a) == 2 && RELEASE(a) == 1);
  CHECK(QI(a, IID_IZR_Decimal, &unknown) == S_OK);
  RELEASE(unknown);
  CHECK(v->Compare(a, b, &r) == S_OK && r == 1);
  CHECK(v->ToDouble(a, &d) == S_OK && d == 7.0);
  CHECK(v->Negate(a, &out) == S_OK);
  out->lpVtbl->ToDouble(out, &d);
  CHECK(d == -7.0);
  RELEASE(out);
  CHECK(v->Round(a, &out, 2) == S_OK);
  RELEASE(out);
  CHECK(v->Truncate(a, &out, 1) == S_OK);
  RELEASE(out);
  CHECK(v->Abs(a, &out) == S_OK);
  RELEASE(out);
  CHECK(v->GetValue(a, &value) == S_OK && value != NULL);
  static const double expected[] = {9, 5, 14, 3.5, 1, 49};
  HRESULT (*const ops[])(IZR_Decimal*, IZR_Decimal*, IZR_Decimal**) = {v->Add, v->Sub, v->Mult,
                                                                       v->Div, v->Mod, v->Exp};
  for (int i = 0; i < 6; ++i) {
    CHECK(ops[i](a, b, &out) == S_OK);
    out->lpVtbl->ToDouble(out, &d);
    CHECK(d == expected[i]);
    RELEASE(out);
  }
  IZR_ConvString* conv = NULL;
  IZR_String* s = NULL;
  const char16_t* text;
  CHECK(QI(a, IID_IZR_ConvString, &conv) == S_OK && (void*)conv != (void*)a);
  CHECK(conv->lpVtbl->AsString(conv, &s) == S_OK);
  s->lpVtbl->GetText(s, &text);
  CHECK(sameText(text, u"7"));
  RELEASE(s);
  RELEASE(conv);
  CHECK(RELEASE(a) == 0);
  RELEASE(b);
}

static void dateTimes(void) {
  SH_TIME t1, t2;
  shdtBuildTime(&t1, 2024, 3, 1, 12, 30, 45, 7);
  shdtBuildTime(&t2, 2024, 2, 28, 12, 0, 0, 0);
  IZR_DateTime *a = NULL, *b = NULL;
  CHECK(CreateDateTimeFromPSH_TIME(&t1, &a) == S_OK);
  CHECK(CreateDateTimeFromPSH_TIME(&t2, &b) == S_OK);
  const IZR_DateTimeVtbl* v = a->lpVtbl;
  int32_t r, days, seconds, part;
  CHECK(ADDREF(a) == 2 && RELEASE(a) == 1);
  CHECK(v->Compare(a, b, &r) == S_OK && r == 1);
  CHECK(v->Difference(a, b, &days, &seconds) == S_OK && days == 2 && seconds == 1845);
  CHECK(v->GetYear(a, &part) == S_OK && part == 2024);
  CHECK(v->GetMonth(a, &part) == S_OK && part == 3);
  CHECK(v->GetDay(a, &part) == S_OK && part == 1);
  CHECK(v->GetDayOfWeek(a, &part) == S_OK && part == 5);
  CHECK(v->GetHour(a, &part) == S_OK && part == 12);
  CHECK(v->GetMinute(a, &part) == S_OK && part == 30);
  CHECK(v->GetSecond(a, &part) == S_OK && part == 45);
  CHECK(v->GetMicrosecond(a, &part) == S_OK && part == 7);

  IZR_Date *da = NULL, *db = NULL;
  IZR_Time *ta = NULL, *tb = NULL;
  IUnknown* unknown;
  CHECK(v->AsDate(a, &da) == S_OK && (void*)da != (void*)a);
  CHECK(v->AsTime(a, &ta) == S_OK && (void*)ta != (void*)da);
  CHECK(QI(b, IID_IZR_Date, &db) == S_OK);
  CHECK(QI(b, IID_IZR_Time, &tb) == S_OK);
  CHECK(QI(ta, IID_IUnknown, &unknown) == S_OK && (void*)unknown == (void*)a);
  RELEASE(unknown);
  CHECK(ADDREF(da) == 4 && RELEASE(da) == 3);
  const IZR_DateVtbl* dv = da->lpVtbl;
  CHECK(dv->Compare(da, db, &r) == S_OK && r == 1);
  CHECK(dv->Difference(da, db, &days) == S_OK && days == 2);
  CHECK(dv->GetYear(da, &part) == S_OK && part == 2024);
  CHECK(dv->GetMonth(da, &part) == S_OK && part == 3);
  CHECK(dv->GetDay(da, &part) == S_OK && part == 1);
  CHECK(dv->GetDayOfWeek(da, &part) == S_OK && part == 5);
  const IZR_TimeVtbl* tv = ta->lpVtbl;
  CHECK(ADDREF(ta) == 4 && RELEASE(ta) == 3);
  CHECK(tv->Compare(ta, tb, &r) == S_OK && r == 1);
  CHECK(tv->Difference(ta, tb, &seconds) == S_OK && seconds == 1845);
  CHECK(tv->GetHour(ta, &part) == S_OK && part == 12);
  CHECK(tv->GetMinute(ta, &part) == S_OK && part == 30);
  CHECK(tv->GetSecond(ta, &part) == S_OK && part == 45);
  CHECK(tv->GetMicrosecond(ta, &part) == S_OK && part == 7);

  IZR_ConvString* conv = NULL;
  IZR_String* s = NULL;
  CHECK(QI(a, IID_IZR_ConvString, &conv) == S_OK);
  CHECK(conv->lpVtbl->AsString(conv, &s) == S_OK);
  RELEASE(s);
  RELEASE(conv);
  SH_TIME copy;
  CHECK(CopyDateToPSH_TIME(da, &copy) == S_OK && memcmp(&copy, &t1, sizeof copy) == 0);
  RELEASE(da);
  RELEASE(ta);
  RELEASE(db);
  RELEASE(tb);
  CHECK(RELEASE(a) == 0);
  CHECK(RELEASE(b) == 0);
}

static void vectors(void) {
  IZR_DynamicVector *vec = NULL, *copy = NULL;
  IZR_String* s = str(u"item");
  IUnknown* got = NULL;
  uint32_t n;
  int empty;
  CHECK(CreateDynamicVectorWithSize(2, &vec) == S_OK);
  const IZR_DynamicVectorVtbl* v = vec->lpVtbl;
  CHECK(ADDREF(vec) == 2 && RELEASE(vec) == 1);
  CHECK(QI(vec, IID_IZR_DynamicVector, &got) == S_OK);
  RELEASE(got);
  CHECK(v->GetSize(vec, &n) == S_OK && n == 2);
  CHECK(v->SetSize(vec, 4) == S_OK);
  CHECK(v->GetAt(vec, 3, &got) == ZR_S_EMPTY_PLACE && got == NULL);
  CHECK(v->SetAt(vec, 3, (IUnknown*)s) == S_OK);
  CHECK(v->GetAt(vec, 3, &got) == S_OK && got == (IUnknown*)s);
  RELEASE(got);
  CHECK(v->IsEmpty(vec, &empty) == S_OK && empty == 0);
  CHECK(v->Clone(vec, &copy) == S_OK);
  CHECK(ADDREF(s) == 4 && RELEASE(s) == 3);
  RELEASE(copy);
  CHECK(RELEASE(vec) == 0);
  CHECK(RELEASE(s) == 0);
}

static void dictionaries(void) {
  IZR_UlongDictionary *u = NULL, *uclone = NULL;
  IZR_StringDictionary *sd = NULL, *sclone = NULL;
  IZR_String *key = str(u"Key"), *item = str(u"item");
  IUnknown *got = NULL, *it = (IUnknown*)item;
  IEnumUnknown* e = NULL;
  uint32_t n;
  int empty;
  CHECK(CreateUlongDictionaryWithFlags(10, ZR_DICT_NOCASE, &u) == S_OK);
  const IZR_UlongDictionaryVtbl* v = u->lpVtbl;
  CHECK(ADDREF(u) == 2 && RELEASE(u) == 1);
  CHECK(v->Add(u, 5, it) == S_OK);
  CHECK(v->Add(u, 5, it) == S_OK);
  CHECK(v->RemoveItem(u, 5, it) == S_OK);
  CHECK(v->Get(u, 5, &got) == S_OK && got == it);
  RELEASE(got);
  CHECK(v->GetAll(u, 5, &e) == S_OK);
  RELEASE(e);
  CHECK(v->EnumerateKeys(u, &e) == S_OK);
  CHECK(e->lpVtbl->Next(e, 1, &got, NULL) == S_OK);
  RELEASE(got);
  RELEASE(e);
  CHECK(v->EnumerateItems(u, &e) == S_OK);
  RELEASE(e);
  CHECK(v->GetCount(u, &n) == S_OK && n == 1);
  CHECK(v->IsEmpty(u, &empty) == S_OK && empty == 0);
  CHECK(v->Clone(u, &uclone) == S_OK);
  CHECK(v->RemoveKey(u, 5) == S_OK);
  CHECK(v->RemoveAll(u) == S_OK);
  CHECK(v->TestFlag(u, ZR_DICT_NOCASE) == S_OK);

  CHECK(QI(u, IID_IZR_StringDictionary, &sd) == S_OK && (void*)sd != (void*)u);
  CHECK(QI(sd, IID_IUnknown, &got) == S_OK && (void*)got == (void*)u);
  RELEASE(got);
  CHECK(ADDREF(sd) == 3 && RELEASE(sd) == 2);
  const IZR_StringDictionaryVtbl* sv = sd->lpVtbl;
  CHECK(sv->Add(sd, key, it) == S_OK);
  CHECK(sv->Add(sd, key, it) == S_OK);
  CHECK(sv->RemoveItem(sd, key, it) == S_OK);
  CHECK(sv->Get(sd, key, &got) == S_OK && got == it);
  RELEASE(got);
  CHECK(sv->GetByText(sd, u"KEY", &got) == S_OK && got == it);
  RELEASE(got);
  CHECK(sv->GetAll(sd, key, &e) == S_OK);
  RELEASE(e);
  CHECK(sv->GetAllByText(sd, u"key", &e) == S_OK);
  RELEASE(e);
  CHECK(sv->EnumerateKeys(sd, &e) == S_OK);
  RELEASE(e);
  CHECK(sv->EnumerateItems(sd, &e) == S_OK);
  RELEASE(e);
  CHECK(sv->GetCount(sd, &n) == S_OK && n == 1);
  CHECK(sv->IsEmpty(sd, &empty) == S_OK && empty == 0);
  CHECK(sv->Clone(sd, &sclone) == S_OK);
  CHECK(sv->RemoveKey(sd, key) == S_OK);
  CHECK(sv->RemoveAll(sd) == S_OK);
  CHECK(sv->TestFlag(sd, ZR_DICT_UNIQUE_KEY) == E_FAIL);
  RELEASE(sd);
  RELEASE(sclone);
  RELEASE(uclone);
  CHECK(RELEASE(u) == 0);
  CHECK(RELEASE(key) == 0);
  CHECK(RELEASE(item) == 0);
}

static void propertySets(void) {
  IZR_PropertySet* p = NULL;
  IZR_String *value = str(u"v"), *got = NULL;
  IUnknown* object = NULL;
  IEnumUnknown* e = NULL;
  int32_t n;
  CHECK(ZR_CreatePropertySet(&p) == S_OK);
  const IZR_PropertySetVtbl* v = p->lpVtbl;
  CHECK(ADDREF(p) == 2 && RELEASE(p) == 1);
  CHECK(QI(p, IID_IZR_PropertySet, &object) == S_OK);
  RELEASE(object);
  CHECK(v->SetString(p, u"s", value) == S_OK);
  CHECK(v->GetString(p, u"s", &got) == S_OK && got == value);
  RELEASE(got);
  CHECK(v->SetLong(p, u"n", -12) == S_OK);
  CHECK(v->GetLong(p, u"n", &n) == S_OK && n == -12);
  CHECK(v->SetObject(p, u"o", (IUnknown*)value) == S_OK);
  CHECK(v->GetObject(p, u"o", &object) == S_OK && object == (IUnknown*)value);
  RELEASE(object);
  CHECK(v->Remove(p, u"o") == S_OK);
  CHECK(v->Enumerate(p, &e) == S_OK);
  RELEASE(e);
  CHECK(RELEASE(p) == 0);
  CHECK(RELEASE(value) == 0);
}

int main(void) {
  strings();
  buffers();
  blobs();
  enumeratorsListsAndFactory();
  decimals();
  dateTimes();
  vectors();
  dictionaries();
  propertySets();
  if (failures) fprintf(stderr, "%d checks failed\n", failures);
  return failures != 0;
}
