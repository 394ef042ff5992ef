#include "framework/exception.h"

namespace cet {

exception::exception(std::string category) : exception(std::move(category), std::string()) {}

exception::exception(std::string category, std::string message)
    : category_(std::move(category)), message_(std::move(message)), what_(category_ + ": " + message_) {}

void exception::append(const std::string& text) {
  message_ += text;
  what_ += text;
}

}  // namespace cet
