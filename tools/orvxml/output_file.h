// Files that the command writes: whole or not at all.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace orvxml::command {

// A file under construction: it stands under a name of its own beside the file that it becomes,
// which keeps its content until `commit`. All throw Failure with the file's name.
class OutputFile {
 public:
  // The path must be that of a plain file, or of none yet in a folder that exists.
  explicit OutputFile(const std::string& path);
  ~OutputFile();  // without commit nothing is left
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  void write(std::string_view content);
  void commit();

 private:
  [[noreturn]] void fail(const char* what) const;
  void discard();
  void writeOut(std::string_view content);

  std::string pending_;  // not written yet
  std::string name_;     // as the user gave it
  std::string path_;
  std::string temporary_;
  int descriptor_ = -1;
};

// A folder for numbered documents: 000001.xml, 000002.xml and so on. It is made when it is not
// there. Unless `keep` is called all that was written disappears again.
class OutputFolder {
 public:
  // Throws Failure when the folder cannot be made or holds numbered documents already.
  explicit OutputFolder(const std::string& path);
  ~OutputFolder();
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;
  // The file of the next document, which counts once it is committed here.
  std::unique_ptr<OutputFile> next() const;
  void commit(OutputFile& file);
  void keep();

 private:
  std::string fileName(size_t number) const;

  std::string path_;
  bool made_ = false;
  bool kept_ = false;
  size_t written_ = 0;
};

}  // namespace orvxml::command
