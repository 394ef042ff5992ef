#pragma once

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace brio::test {

/// Makes numbers of the C library have a decimal comma until the object dies. The locale is compiled for it,
/// since a machine may have none of that kind.
class DecimalCommaLocale {
public:
  DecimalCommaLocale() {
    std::string name = (std::filesystem::temp_directory_path() / "brio-locale-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) { throw std::runtime_error("no temporary folder"); }
    folder_ = name;
    std::ofstream(folder_ / "comma.source") << "LC_NUMERIC\n"
                                               "decimal_point \",\"\n"
                                               "thousands_sep \".\"\n"
                                               "grouping 3;3\n"
                                               "END LC_NUMERIC\n";
    // Of its own too, so that the machine needs no package of locales.
    std::ofstream(folder_ / "ascii.map") << "<code_set_name> ASCII\n"
                                            "<comment_char> %\n"
                                            "<escape_char> /\n"
                                            "CHARMAP\n"
                                            "<U0000>..<U007F> /x00\n"
                                            "END CHARMAP\n";
    // It warns of the categories that the source leaves out, and then exits with 1.
    const std::string command =
        "cd " + name + " && localedef -c -f ./ascii.map -i ./comma.source ./comma 2>/dev/null";
    if (std::system(command.c_str()) == -1) {  // NOLINT(concurrency-mt-unsafe): the tests have one thread
      throw std::runtime_error("no shell");
    }
    setenv("LOCPATH", name.c_str(), 1);
    if (std::setlocale(LC_NUMERIC, "comma") == nullptr) { throw std::runtime_error("localedef failed"); }
  }
  ~DecimalCommaLocale() {
    std::setlocale(LC_NUMERIC, "C");
    unsetenv("LOCPATH");
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  DecimalCommaLocale(const DecimalCommaLocale&) = delete;
  DecimalCommaLocale& operator=(const DecimalCommaLocale&) = delete;

private:
  std::filesystem::path folder_;
};

}  // namespace brio::test
