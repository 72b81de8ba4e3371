// The code pages of a call: asked from the server for a procedure, from the process and the
// database information block for a function.
#include "orvxml/code_pages.h"

#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

#include "orv/esql.h"
#include "orvxml/packages.h"
#include "orvxml/trace.h"
#include "orvxml/unmapped_characters.h"
#include "src/text/converters.h"

namespace orvxml {

// CONNECT without operands is all that this package runs, and that is no section.
const orv::esql::Module kQrkcnuwo{"QRKCNUWO", "kA7dQx2f", {}};

namespace {

constexpr int kDbCodePageToken = 2;
constexpr int kAppCodePageToken = 9;

struct ConverterVariant {
  int32_t codePage;
  const char* name;
};
// Code pages of which there are several variants: those that agree with what documents hold.
constexpr std::array<ConverterVariant, 4> kVariants{{
    {942, "shift_jis78"},
    {943, "cp943c"},
    {949, "cp949c"},
    {1363, "cp1363"},
}};
constexpr UConverterPlatform kCodePageNumbers = UCNV_IBM;

// Two numbers stand for one Japanese code page; the converters know the second.
int32_t canonicalCodePage(int32_t codePage) {
  return codePage == 954 ? 33722 : codePage;
}

// What does not convert is an error, never silently a substitute.
UConverter* strict(UConverter* converter, UErrorCode* status) {
  if (U_FAILURE(*status)) return nullptr;
  ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, status);
  ucnv_setFromUCallBack(converter, stopAtUnmapped, nullptr, nullptr, nullptr, status);
  return converter;
}

int readToken(QrkStruct* ctx, sqlca* area, int token, int32_t* codePage) {
  char text[sizeof area->sqlerrmc + 1];
  if (get_sqlerrmc_token(ctx, token, area, text) != 0) return -1;
  const std::string_view digits(text);
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), *codePage);
  if (error != std::errc() || end == digits.data()) return -1;
  *codePage = canonicalCodePage(*codePage);
  return 0;
}

int connectionCodePage(QrkStruct* ctx, int token, int32_t* codePage) {
  sqlca area{};
  orv::esql::connectionProperties(kQrkcnuwo, area);
  return area.sqlcode < 0 ? -1 : readToken(ctx, &area, token, codePage);
}

// In a procedure both code pages are the same one: the application's, where it is known.
int procedureCodePages(QrkStruct* ctx, QrkCodePages* pages) {
  int rc = getAppCodePage(ctx, &pages->appCodePage);
  if (rc != 0) rc = getDBCodePage(ctx, &pages->appCodePage);
  pages->dbCodePage = pages->appCodePage;
  return rc;
}

int initProcedure(QrkStruct* ctx, QrkCodePages* pages) {
  if (const int rc = procedureCodePages(ctx, pages)) return rc;
  UErrorCode status = U_ZERO_ERROR;
  pages->dbConverter = getConverter(pages->dbCodePage, &status);
  pages->appConverter = pages->dbConverter;
  if (U_SUCCESS(status)) return 0;
  QRK_TRACE(ctx, "unable to open icu converter for %d", pages->dbCodePage);
  return status;
}

int initFunction(QrkStruct* ctx, QrkCodePages* pages, const sqludf_dbinfo* dbinfo,
                 const char* encoding) {
  if (!encoding) encoding = ucnv_getDefaultName();
  if (!encoding) {
    QRK_TRACE(ctx, "unable to ucnv_getDefaultName");
    return -1;
  }
  if (!dbinfo) return -1;
  UErrorCode status = U_ZERO_ERROR;
  pages->appConverter = strict(ucnv_open(encoding, &status), &status);
  if (U_FAILURE(status)) {
    QRK_TRACE(ctx, "unable to open app icu converter %s for UDF case", encoding);
    return status;
  }
  pages->appCodePage = ucnv_getCCSID(pages->appConverter, &status);
  pages->dbCodePage = canonicalCodePage(dbinfo->codepage);
  const bool same = pages->dbCodePage == pages->appCodePage;
  pages->dbConverter = same ? pages->appConverter : getConverter(pages->dbCodePage, &status);
  if (U_SUCCESS(status)) return 0;
  QRK_TRACE(ctx, "unable to open icu converter for db codepage %d", pages->dbCodePage);
  return status;
}

unsigned handleForTrace(const UConverter* converter) {
  return static_cast<unsigned>(reinterpret_cast<uintptr_t>(converter));
}

}  // namespace

UConverter* getConverter(int32_t codePage, UErrorCode* status) {
  for (const ConverterVariant& variant : kVariants) {
    if (variant.codePage == codePage) return strict(ucnv_open(variant.name, status), status);
  }
  return strict(ucnv_openCCSID(codePage, kCodePageNumbers, status), status);
}

Failure codePagesFailure(QrkStruct* ctx) {
  sqlca area{};
  orv::esql::connectionProperties(kQrkcnuwo, area);
  int32_t codePage = 0;
  if (area.sqlcode >= 0 && readToken(ctx, &area, kDbCodePageToken, &codePage) == 0) {
    return Failure(Msg::QRKG008E, codePage);
  }
  return Failure::ofServer(area, Msg::QRKG008E, "(none)");
}

int getDBCodePage(QrkStruct* ctx, int32_t* codePage) {
  return connectionCodePage(ctx, kDbCodePageToken, codePage);
}

int getAppCodePage(QrkStruct* ctx, int32_t* codePage) {
  return connectionCodePage(ctx, kAppCodePageToken, codePage);
}

int initICU(QrkStruct* ctx, CALL_FROM callFrom, sqludf_dbinfo* dbinfo,
            const char* appEncodingName) {
  QrkCodePages* pages = ctx->codePages;
  const int rc = callFrom == CALL_FROM_STP ? initProcedure(ctx, pages)
                                           : initFunction(ctx, pages, dbinfo, appEncodingName);
  if (rc != 0) return rc;
  QRK_TRACE(ctx, "app code page %d, db code page %d", pages->appCodePage, pages->dbCodePage);
  QRK_TRACE(ctx, "got icu converters db conv = %x, app conv = %x",
            handleForTrace(pages->dbConverter), handleForTrace(pages->appConverter));
  return 0;
}

}  // namespace orvxml
