// The message table: one row per message, in the order of Msg.
#include "orvxml/messages.h"

namespace orvxml {

namespace {

struct Row {
  int index;
  int32_t code;
  const char* sqlState;
  const char* text;
};

// One message a line. A text begins with the message's ID and two blanks; every placeholder is a
// string.
// clang-format off
constexpr Row kRows[] = {
    {0, 0, "", ""},
    {1, 0, "00000", "QRKA000I  Enabling column %s. Please Wait."},
    {2, -92, "00000", "QRKA001S  An unexpected error occurred in build %s, file %s, and line %s."},
    {3, 0, "00000", "QRKA002I  Connecting to database %s."},
    {4, -1, "00000", "QRKA003E  Cannot connect to database %s."},
    {5, -2, "00000", "QRKA004E  Cannot enable database %s."},
    {6, 0, "00000", "QRKA005I  Enabling database %s.  Please wait."},
    {7, 0, "00000", "QRKA006I  The database %s was enabled successfully."},
    {8, -3, "00000", "QRKA007E  Cannot disable database %s."},
    {9, 0, "00000", "QRKA008I  Disabling column %s. Please Wait."},
    {10, -4, "38X11", "QRKA009E  Xcolumn tag is not specified in the DAD file."},
    {11, -5, "38X12", "QRKA010E  Attempt to find DTD ID %s failed."},
    {12, -6, "00000", "QRKA011E  Inserting a record into ORVXML.XML_USAGE table failed."},
    {13, -7, "00000", "QRKA012E  Attempt to update ORVXML.DTD_REF table failed."},
    {14, -8, "00000", "QRKA013E  Attempt to alter table %s failed."},
    {15, -9, "00000", "QRKA014E  The specified root ID column: %s is not a single primary key of table %s."},
    {16, -10, "00000", "QRKA015E  The column QRKROOT_ID already exists in table %s."},
    {17, -11, "00000", "QRKA016E  The input table %s does not exist."},
    {18, -12, "00000", "QRKA017E  The input column %s does not exist in the specified table %s."},
    {19, -13, "00000", "QRKA018E  The specified column is not enabled for XML data."},
    {20, -14, "00000", "QRKA019E  A input parameter required to enable the column is null."},
    {21, -15, "00000", "QRKA020E  Columns cannot be found in the table %s."},
    {22, -16, "00000", "QRKA021E  Cannot create the default view %s."},
    {23, 0, "00000", "QRKA022I  Column %s enabled."},
    {24, -17, "00000", "QRKA023E  Cannot find the DAD file."},
    {25, -18, "00000", "QRKA024E  The XML Annex encountered an internal error while accessing the system catalog tables."},
    {26, -19, "00000", "QRKA025E  Cannot drop the default view %s."},
    {27, -20, "00000", "QRKA026E  Unable to drop the side table %s."},
    {28, -21, "00000", "QRKA027E  Could not disable the column."},
    {29, -22, "00000", "QRKA028E  Could not disable the column."},
    {30, -23, "00000", "QRKA029E  Could not disable the column."},
    {31, -24, "00000", "QRKA030E  Could not disable the column."},
    {32, -25, "00000", "QRKA031E  Unable to reset the QRKROOT_ID column value in the application table to NULL."},
    {33, -26, "00000", "QRKA032E  Decrement of USAGE_COUNT in ORVXML.XML_USAGE table failed."},
    {34, -27, "00000", "QRKA033E  Attempt to delete a row from the ORVXML.XML_USAGE table failed."},
    {35, 0, "00000", "QRKA034I  XML Annex has successfully disabled column %s."},
    {36, 0, "00000", "QRKA035I  XML Annex is disabling database %s.  Please wait."},
    {37, 0, "00000", "QRKA036I  XML Annex has successfully disabled database %s."},
    {38, -28, "00000", "QRKA037E  The specified table space name is longer than 18 characters."},
    {39, -29, "00000", "QRKA038E  The specified default view name is longer than 18 characters."},
    {40, -30, "00000", "QRKA039E  The specified ROOT_ID name is longer than 18 characters."},
    {41, -31, "00000", "QRKA046E  Unable to create the side table %s."},
    {42, -32, "00000", "QRKA047E  Could not enable the column."},
    {43, -33, "00000", "QRKA048E  Could not enable the column."},
    {44, -34, "00000", "QRKA049E  Could not enable the column."},
    {45, -35, "00000", "QRKA050E  Could not enable the column."},
    {46, -36, "00000", "QRKA051E  Could not disable the column."},
    {47, -37, "00000", "QRKA052E  Could not disable the column."},
    {48, -38, "00000", "QRKA053E  Could not enable the column."},
    {49, -39, "00000", "QRKA054E  Could not enable the column."},
    {50, -40, "38X15", "QRKA056E  The validation value %s in the DAD file is invalid."},
    {51, -41, "38X15", "QRKA057E  A side table name %s in DAD is invalid."},
    {52, -42, "38X15", "QRKA058E  A column name %s in the DAD file is invalid."},
    {53, -43, "38X15", "QRKA059E  The type %s of column %s in the DAD file is invalid."},
    {54, -44, "38X15", "QRKA060E  The path attribute %s of %s in the DAD file is invalid."},
    {55, -45, "38X15", "QRKA061E  The multi_occurrence attribute %s of %s in the DAD file is invalid."},
    {56, -46, "00000", "QRKA062E  Unable to retrieve the column number for %s in table %s."},
    {57, 0, "00000", "QRKA063I  Enabling collection %s. Please Wait."},
    {58, 0, "00000", "QRKA064I  Disabling collection %s. Please Wait."},
    {59, -95, "00000", "QRKA065E  Calling stored procedure %s failed."},
    {60, 0, "00000", "QRKA066I  XML Annex has successfully disabled collection %s."},
    {61, 0, "00000", "QRKA067I  XML Annex has successfully enabled collection %s."},
    {62, 0, "00000", "QRKA068I  XML Annex has successfully turned the trace on."},
    {63, 0, "00000", "QRKA069I  XML Annex has successfully turned the trace off."},
    {64, 5, "00000", "QRKA070W  The database has already been enabled."},
    {65, 6, "00000", "QRKA071W  The database is not enabled or has already been disabled."},
    {66, -103, "38X01", "QRKA072E  XML Annex couldn't find the bind files. Bind the database before enabling it."},
    {67, -104, "38X36", "QRKA073E  The database is not bound. Please bind the database before enabling it."},
    {68, -107, "00000", "QRKA074E  Wrong parameter type. The stored procedure expects a STRING parameter."},
    {69, -108, "00000", "QRKA075E  Wrong parameter type. The input parameter should be a LONG type."},
    {70, -116, "00000", "QRKA076E  XML Annex trace instance ID invalid."},
    {71, 0, "", ""},
    {72, -47, "38X00", "QRKC000E  Unable to open the specified file."},
    {73, -80, "38X01", "QRKC001E  The specified file is not found."},
    {74, -48, "38X02", "QRKC002E  Unable to read file."},
    {75, -49, "38X03", "QRKC003E  Unable to write to the specified file."},
    {76, -50, "38X04", "QRKC004E  Unable to operate the LOB Locator: rc=%s."},
    {77, -51, "38X05", "QRKC005E  Input file size is greater than XMLVarchar size."},
    {78, -52, "38X06", "QRKC006E  The input file exceeds the ORV LOB limit."},
    {79, -53, "38X07", "QRKC007E  Unable to retrieve data from the file to the LOB Locator."},
    {80, -96, "00000", "QRKC008E  Can not remove the file %s."},
    {81, -97, "00000", "QRKC009E  Unable to create file to %s directory."},
    {82, -98, "00000", "QRKC010E  Error while writing to file %s."},
    {83, -105, "38X03", "QRKC011E  Unable to write to the trace control file."},
    {84, -106, "00000", "QRKC012E  Cannot create temporary file."},
    {85, -53, "38X39", "QRKC013E  The results of the extract UDF exceed the size limit for the UDF return type."},
    {86, -54, "38X14", "QRKD000E  An invalid XML document is rejected."},
    {87, -55, "38X08", "QRKD001E  %s occurs multiple times."},
    {88, -94, "38X09", "QRKD002E  A syntax error occurred near position %s in the search path."},
    {89, 1, "01HX0", "QRKD003W  Path not found.  Null is returned."},
    {90, -56, "38x34", "QRKG000E  The file name %s is invalid."},
    {91, -57, "38X18", "QRKG001E  An internal error occured in build %s, file %s, and line %s."},
    {92, -58, "38X10", "QRKG002E  The system is out of memory."},
    {93, -60, "38X16", "QRKG004E  Invalid null parameter."},
    {94, -91, "38x33", "QRKG005E  Parameter not supported."},
    {95, -57, "38X18", "QRKG006E  Internal Error SQLSTATE=%s, RC=%s, build %s, file %s, line %s CLIMSG=%s."},
    {96, -118, "38X37", "QRKG007E  Locale %s is inconsistent with ORV code page %s."},
    {97, -119, "38X38", "QRKG008E  Locale %s is not supported."},
    {98, 0, "00000", "QRKG009E  Placeholder"},
    {99, 0, "00000", "QRKG010E  Placeholder"},
    {100, 0, "00000", "QRKG011E  Placeholder"},
    {101, 0, "00000", "QRKG012E  Placeholder"},
    {102, 0, "00000", "QRKG013E  Placeholder"},
    {103, 0, "00000", "QRKG014E  Placeholder"},
    {104, 0, "00000", "QRKG015E  Placeholder"},
    {105, 0, "00000", "QRKG016E  Placeholder"},
    {106, -124, "00000", "QRKG017E  The limit for %s has been exceeded in build %s, file %s, and line %s."},
    {107, 2, "00000", "QRKM001W  A ORV error occurred."},
    {108, -61, "38X15", "QRKQ000E  %s is missing from the DAD file."},
    {109, -62, "38X17", "QRKQ001E  Invalid SQL statement for XML generation."},
    {110, -63, "38X19", "QRKQ002E  Cannot generate storage space to hold XML documents."},
    {111, 3, "38X20", "QRKQ003W  Result exceeds maximum."},
    {112, -64, "38X21", "QRKQ004E  The column %s is not in the result of the query."},
    {113, 4, "00000", "QRKQ004W  The DTD ID was not found in the DAD."},
    {114, -65, "38X22", "QRKQ005E  Wrong relational mapping.  The element %s is at a lower level than its child column %s."},
    {115, -66, "38X23", "QRKQ006E  An attribute_node element has no name."},
    {116, -67, "38X24", "QRKQ007E  The attribute_node %s has no column element or RDB_node."},
    {117, -68, "38X25", "QRKQ008E  A text_node element has no column element."},
    {118, -69, "38X26", "QRKQ009E  Result table %s does not exist."},
    {119, -70, "38X27", "QRKQ010E  RDB_node of %s does not have a table in the DAD file. "},
    {120, -71, "38X27", "QRKQ011E  RDB_node element of %s does not have a column in the DAD file. "},
    {121, -72, "38X28", "QRKQ012E  Errors occurred in DAD. "},
    {122, -73, "38X29", "QRKQ013E  The table or column element does not have a name in the DAD file. "},
    {123, -74, "38X30", "QRKQ014E  An element_node element has no name."},
    {124, -75, "38X29", "QRKQ015E  The condition format is invalid."},
    {125, -76, "38X28", "QRKQ016E  The table name in this RDB_node is not defined in the top element of the DAD file."},
    {126, -77, "38X27", "QRKQ017E  The column in the result table %s is too small."},
    {127, -78, "38X30", "QRKQ018E  The ORDER BY clause is missing from the SQL statement."},
    {128, -79, "38X31", "QRKQ019E  The element objids has no column element in the DAD file."},
    {129, 0, "00000", "QRKQ020I  XML successfully generated."},
    {130, -81, "00000", "QRKQ021E  Table %s does not have column %s."},
    {131, -82, "00000", "QRKQ022E  Column %s of %s should have type %s."},
    {132, -83, "00000", "QRKQ023E  Column %s of %s cannot be longer than %s."},
    {133, -84, "00000", "QRKQ024E  Can not create table %s."},
    {134, 0, "00000", "QRKQ025I  XML decomposed successfully."},
    {135, -86, "00000", "QRKQ026E  XML data %s is too large to fit in column %s."},
    {136, -88, "00000", "QRKQ028E  Cannot find the collection %s in the XML_USAGE table."},
    {137, -89, "00000", "QRKQ029E  Cannot find the DAD in XML_USAGE table for the collection %s."},
    {138, -99, "00000", "QRKQ030E  Wrong XML override syntax."},
    {139, -100, "00000", "QRKQ031E  Table name cannot be longer than maximum length allowed by ORV."},
    {140, -101, "00000", "QRKQ032E  Column name cannot be longer than maximum length allowed by ORV."},
    {141, -109, "00000", "QRKQ033E  Invalid identifier starting at %s "},
    {142, -110, "00000", "QRKQ034E  Invalid condition element in top RDB_node of DAD: %s "},
    {143, -111, "00000", "QRKQ035E  Invalid join condition in top RDB_node of DAD: %s "},
    {144, -115, "00000", "QRKQ036E  A Schema name specified under a DAD condition tag is longer than allowed."},
    {145, -117, "00000", "QRKQ037E  Cannot generate %s with multiple occurrences."},
    {146, -121, "00000", "QRKQ038E  The SQL statement is too long: %s."},
    {147, -122, "00000", "QRKQ039E  Too many columns specified for a table in the DAD file."},
    {148, -123, "38X27", "QRKQ040E  The element name %s in the DAD file is invalid."},
    {149, 5, "00000", "QRKQ041W  XML document successfully generated.  One or more override paths specified is invalid and ignored."},
    {150, -125, "00000", "QRKQ043E  Attribute %s not found under element %s."},
    {151, -126, "00000", "QRKQ044E  Element %s does not have an ancestor element %s."},
    {152, -127, "00000", "QRKQ045E  Subtree under element %s contain multiple attributes named %s."},
    {153, 4, "00000", "QRKQ046W  The DTD ID was not found in the DAD."},
    {154, -112, "00000", "QRKQ047E  Parser error on line %s column %s: %s "},
    {155, -128, "38X41", "QRKQ048E  Internal error - see trace file."},
    {156, -129, "38X42", "QRKQ049E  The output file already exists."},
    {157, -130, "38X43", "QRKQ050E  Unable to create a unique file name."},
    {158, -131, "38X44", "QRKQ051E  No input or output data."},
    {159, -132, "00000", "QRKQ052E  An error occured while accessing the ORVXML.XML_USAGE table."},
    {160, -133, "00000", "QRKQ053E  An SQL statement failed : %s"},
    {161, -134, "00000", "QRKQ054E  Invalid input parameter: %s"},
    {162, -135, "38X45", "QRKQ055E  ICU error: %s"},
    {163, -136, "38X15", "QRKQ056E  Element/attribute %s cannot be mapped to the column designated as part of the foreign key (column %s in table %s)."},
    {164, -137, "38X15", "QRKQ057E  The schemabindings and dtdid tags cannot exist together in the DAD file."},
    {165, -138, "38X15", "QRKQ058E  The nonamespacelocation tag inside the schemabindings tag is missing in the DAD file."},
    {166, -139, "38X15", "QRKQ059E  The doctype tag cannot be located inside the XCollection tag in the DAD for schema validation."},
    {167, -140, "38X12", "QRKQ060E  Attempt to find SCHEMA ID %s failed."},
    {168, -141, "38X29", "QRKQ061E  The format of the string is invalid."},
    {169, -142, "38X15", "QRKQ062E  No rows of result set for %s are left to produce a XML value for %s."},
    {170, 0, "", ""},
};
// clang-format on
static_assert(sizeof(kRows) / sizeof(kRows[0]) == kMessageCount);

constexpr bool rowsAreInOrder() {
  for (int i = 0; i < kMessageCount; ++i) {
    if (kRows[i].index != i) return false;
  }
  return true;
}
static_assert(rowsAreInOrder());
static_assert(kRows[static_cast<int>(Msg::QRKQ047E)].code == -112);

template <class T>
constexpr std::array<T, kMessageCount> column(T Row::*field) {
  std::array<T, kMessageCount> values{};
  for (size_t i = 0; i < kMessageCount; ++i) values[i] = kRows[i].*field;
  return values;
}

}  // namespace

constinit const std::array<int32_t, kMessageCount> qrkErrCodeTable = column(&Row::code);
constinit const std::array<const char*, kMessageCount> qrkSqlStateTable = column(&Row::sqlState);
constinit const std::array<const char*, kMessageCount> qrkMsgTable = column(&Row::text);

}  // namespace orvxml
