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
    // It warns of the categories that the source leaves out, and then exits with 1.
    const std::string command =
        "localedef -c -i " + name + "/comma.source " + name + "/comma >/dev/null 2>&1";
    std::system(command.c_str());  // NOLINT(cert-env33-c,concurrency-mt-unsafe)
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
