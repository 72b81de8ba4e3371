// shred DATABASE MAPPING DOCUMENT: decomposes one document in a unit of work of its own.
#include <orv/session.h>
#include <orvxml/procedures.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

// A 32-bit length and the bytes.
class Clob {
 public:
  explicit Clob(const char* file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    const auto length = static_cast<std::int32_t>(bytes.size());
    memory_.resize(sizeof length + bytes.size());
    std::memcpy(memory_.data(), &length, sizeof length);
    std::memcpy(memory_.data() + sizeof length, bytes.data(), bytes.size());
  }
  clob* get() { return reinterpret_cast<clob*>(memory_.data()); }

 private:
  std::vector<char> memory_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: shred DATABASE MAPPING DOCUMENT\n";
    return 2;
  }
  setenv("ORVINSTANCE", "orvxml", 0);
  orv::Outcome outcome;
  const std::unique_ptr<orv::Session> session = orv::Session::open(argv[1], outcome);
  if (!session) {
    std::cerr << outcome.message << '\n';
    return 1;
  }
  session->makeCurrent();
  Clob mapping(argv[2]);
  Clob document(argv[3]);
  int code = 0;
  char message[1024] = "";
  short indicators[4] = {0, 0, 0, 0};
  qrkShredXML_STP(mapping.get(), document.get(), &code, message, &indicators[0], &indicators[1],
                  &indicators[2], &indicators[3]);
  std::cout << message;
  const orv::Outcome ended = code < 0 ? session->rollback() : session->commit();
  return code < 0 || ended.failed() ? 1 : 0;
}
