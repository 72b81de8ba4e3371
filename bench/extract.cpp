// What extraction and update cost beside the work that nobody can spare: reading the document with
// the same parser, the same settings and a handler that does nothing.
//
// Prints, for one document of 50 MB in memory, the time of every call and its ratio to the bare
// parse; the peak memory of calls over a small and a large document; and, where their libraries are
// there, the times of engines that answer the same path over a tree of the document.
#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "bench/bare_parser.h"
#include "bench/support.h"
#include "bench/tree_engines.h"
#include "orvxml/extraction.h"
#include "orvxml/update.h"

namespace {

using bench::processorMilliseconds;
using bench::require;

constexpr int kRepetitions = 9;
constexpr size_t kMegabyte = 1'000'000;
constexpr size_t kLarge = 50 * kMegabyte;
constexpr size_t kSmall = 5 * kMegabyte;

// ---- The document

std::string line(int number) {
  const std::string n = std::to_string(number);
  return "<line id=\"" + n + "\"><article>ART-" + n +
         "</article><description>Pump, 20 l/min, with hose &amp; fittings</description><quantity>" +
         std::to_string(number % 9 + 1) + "</quantity><price currency=\"EUR\">149.50</price>" +
         "</line>\n";
}

// Orders of ten lines; every thousandth has a note.
std::string orders(size_t bytes) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<orders>\n";
  text.reserve(bytes + bytes / 64);
  for (int order = 1; text.size() < bytes; ++order) {
    text += "<order id=\"" + std::to_string(order) +
            "\" status=\"delivered\"><customer>Miller, Hamburg</customer>"
            "<ordered>2024-03-05</ordered>\n";
    if (order % 1000 == 0) text += "<note>Deliver before noon</note>\n";
    for (int i = 1; i <= 10; ++i) text += line(i);
    text += "</order>\n";
  }
  return text + "</orders>\n";
}

// ---- The calls

struct Call {
  const char* what;
  const char* path;
  int format;
  double goal;        // of the ratio; 0: none
  const char* xpath;  // that selects the same; null: not asked
};

constexpr Call kExtractions[] = {
    {"rare element", "//note", orvxml::kExtractText, 1.15, "//note"},
    {"rare, from the top", "/orders/order/note", orvxml::kExtractText, 1.15, nullptr},
    {"attribute", "//*/@id", orvxml::kExtractText, 1.5, "//*/@id"},
    {"one element's text", "//description", orvxml::kExtractText, 1.5, "//description"},
    {"every element's text", "//*", orvxml::kExtractText, 1.5, nullptr},
    {"predicate", "//line[@id=\"7\"]/price", orvxml::kExtractText, 1.5, "//line[@id='7']/price"},
    {"markup", "//line[@id=\"7\"]", orvxml::kExtractMarkup, 1.5, nullptr},
    {"markup of all lines", "//line", orvxml::kExtractMarkup, 0, nullptr},
    {"all markup", "/orders", orvxml::kExtractMarkup, 0, nullptr},
};
constexpr Call kUpdates[] = {
    {"element", "//customer", 0, 1.8, nullptr},
    {"attribute", "//order/@status", 0, 1.8, nullptr},
};

// The document's functions take texts that they may change, but do not.
char* textOf(const std::string& text) {
  return const_cast<char*>(text.c_str());
}

// What a call gives: the number of values and their bytes.
struct Found {
  size_t values = 0;
  size_t bytes = 0;
};

Found extract(const std::string& document, const Call& call) {
  orvxml::QrkStruct context{};
  orvxml::QrkExtractResult result{};
  std::string path = call.path;
  char state[orvxml::kSqlStateSize], message[orvxml::kMessageSize];
  const int rc = extractAll(&context, textOf(document), 0, 1, call.format, path.data(), &result,
                            INT_MAX, state, message);
  require(rc == 0, message);
  Found found;
  for (char** value = result.values; *value; ++value) {
    ++found.values;
    found.bytes += std::strlen(*value);
  }
  qrkFreeArray(&context, &result);
  return found;
}

Found update(const std::string& document, const Call& call) {
  orvxml::QrkStruct context{};
  const std::string narrow = call.path;
  std::u16string path(narrow.begin(), narrow.end()), value = u"new";
  char* result = nullptr;
  char state[orvxml::kSqlStateSize], message[orvxml::kMessageSize];
  const int rc = qrkUpdate(&context, textOf(document), 1, 0, path.data(), value.data(), &result,
                           INT_MAX, state, message);
  require(rc == 0, message);
  const Found found{1, std::strlen(result)};
  std::free(result);
  return found;
}

using Work = Found (*)(const std::string& document, const Call& call);

// ---- Measuring

struct Times {
  double call = 0;  // milliseconds
  double bare = 0;
  double ratio() const { return call / bare; }
};

// The two times are taken one right after the other, so that whatever else the machine does weighs
// on both; the repetition with the median ratio stands for all.
Times measure(const std::string& document, const Call& call, Work work) {
  std::array<Times, kRepetitions> taken;
  for (Times& times : taken) {
    times.call = processorMilliseconds([&] { work(document, call); });
    times.bare = processorMilliseconds([&] { bench::BareParser().parse(document); });
  }
  const auto middle = taken.begin() + kRepetitions / 2;
  std::nth_element(taken.begin(), middle, taken.end(),
                   [](const Times& a, const Times& b) { return a.ratio() < b.ratio(); });
  return *middle;
}

void printTimes(const std::string& document, const Call& call, Work work, const char* verb) {
  const Found found = work(document, call);
  const Times times = measure(document, call, work);
  std::printf("%-8s %-22s %-26s %9zu %7.1f %8.1f %8.1f %6.2f", verb, call.what, call.path,
              found.values, static_cast<double>(found.bytes) / kMegabyte, times.call, times.bare,
              times.ratio());
  call.goal > 0 ? std::printf(" %5.2f\n", call.goal) : std::printf("     -\n");
}

void printAllTimes(const std::string& document) {
  std::printf("%zu MB of orders\n%-8s %-22s %-26s %9s %7s %8s %8s %6s %5s\n", kLarge / kMegabyte,
              "", "what", "path", "values", "MB", "call ms", "bare ms", "ratio", "goal");
  for (const Call& call : kExtractions) printTimes(document, call, extract, "extract");
  for (const Call& call : kUpdates) printTimes(document, call, update, "update");
}

void printMemory(const char* verb, const Call& call, Work work) {
  std::printf("%-8s %-22s", verb, call.what);
  for (const size_t bytes : {kSmall, kLarge}) {
    const long grown = bench::peakKilobytes([&]() -> std::function<void()> {
      const auto document = std::make_shared<std::string>(orders(bytes));
      work(orders(kSmall / 100), call);
      return [=, &call] { work(*document, call); };
    });
    std::printf(" %9ld", grown);
  }
  std::printf(" %9zu\n", work(orders(kLarge), call).bytes / 1024);
}

void printAllMemory() {
  std::printf("\nPeak memory of a call beyond the document, KB\n%-31s %6zu MB %6zu MB %9s\n", "",
              kSmall / kMegabyte, kLarge / kMegabyte, "result");
  for (const Call& call : kExtractions) printMemory("extract", call, extract);
  for (const Call& call : kUpdates) printMemory("update", call, update);
}

void printTrees(const std::string& document) {
  for (const bench::TreeEngine& engine : bench::treeEngines()) {
    std::printf("\nThe same over a tree of %s, ms\n", engine.name);
    for (const Call& call : kExtractions) {
      if (!call.xpath) continue;
      size_t values = 0;
      const double time =
          processorMilliseconds([&] { values = engine.values(document, call.xpath); });
      std::printf("%-31s %-26s %9zu %8.1f\n", call.what, call.xpath, values, time);
    }
  }
}

}  // namespace

int main() {
  bench::start();
  const std::string document = orders(kLarge);
  printAllTimes(document);
  printAllMemory();
  printTrees(document);
  return 0;
}
