// Mappings (DADs) for tests, put together from their parts.
#pragma once

#include <string>

namespace orvxml::test {

inline std::string column(const std::string& table, const std::string& name,
                          const std::string& type = "varchar(4)", const std::string& more = "") {
  return "<RDB_node><table name='" + table + "'/><column name='" + name + "' type='" + type +
         "'/>" + more + "</RDB_node>";
}
inline std::string attribute(const std::string& name, const std::string& rdbNode) {
  return "<attribute_node name=\"" + name + "\">" + rdbNode + "</attribute_node>";
}
inline std::string text(const std::string& rdbNode) {
  return "<text_node>" + rdbNode + "</text_node>";
}
inline std::string element(const std::string& name, const std::string& content,
                           const std::string& more = "") {
  return "<element_node name=\"" + name + "\"" + more + ">" + content + "</element_node>";
}
// One that may occur several times, so that it can stand for a row.
inline std::string repeated(const std::string& name, const std::string& content) {
  return element(name, content, " multi_occurrence=\"YES\"");
}
inline std::string textOf(const std::string& name, const std::string& from,
                          const std::string& col) {
  return element(name, text(column(from, col)));
}
inline std::string attributeOf(const std::string& name, const std::string& from,
                               const std::string& col) {
  return attribute(name, column(from, col));
}
// What stands in front of the mapping of the top element.
inline std::string top(const std::string& tables, const std::string& condition = "") {
  return "<RDB_node>" + tables +
         (condition.empty() ? "" : "<condition>" + condition + "</condition>") + "</RDB_node>";
}
// The same for tables whose names are letters.
inline std::string tables(const std::string& names, const std::string& condition = "") {
  std::string listed;
  for (const char name : names) listed += std::string("<table name=\"") + name + "\"/>";
  return top(listed, condition);
}
inline std::string dad(const std::string& topElement, const std::string& header = "") {
  return "<DAD>" + header + "<Xcollection><root_node>" + topElement +
         "</root_node></Xcollection></DAD>";
}

// ---- Mappings of columns.
inline std::string sideColumn(const std::string& name, const std::string& type,
                              const std::string& path, const std::string& occurrence = "NO") {
  return "<column name=\"" + name + "\" type=\"" + type + "\" path=\"" + path +
         "\" multi_occurrence=\"" + occurrence + "\"/>";
}
inline std::string sideTable(const std::string& name, const std::string& columns) {
  return "<table name=\"" + name + "\">" + columns + "</table>";
}
inline std::string columnDad(const std::string& tables, const std::string& settings = "") {
  return "<DAD>" + settings + "<Xcolumn>" + tables + "</Xcolumn></DAD>";
}

// Parents with their children: p has the attribute k, c below it the attribute v.
inline const char kParentAndChild[] =
    "create table p (k varchar(4), a varchar(4));"
    "create table c (k varchar(4), v varchar(4), w varchar(4));";
inline std::string parentAndChild(const std::string& header = "") {
  return dad(element("p", tables("pc", "p.k = c.k") + attribute("k", column("p", "k")) +
                              element("c", attribute("v", column("c", "v")))),
             header);
}

}  // namespace orvxml::test
