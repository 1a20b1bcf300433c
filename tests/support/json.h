// JSON values from literals, and back.
#pragma once

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "talvo_util.h"

#include "base/handle.h"

namespace talvo::test {

inline Json json(std::string_view text) {
  Json value(talvo_json_parse(text.data(), text.size()));
  EXPECT_NE(value, nullptr) << text;
  return value;
}

inline std::string jsonText(const talvo_json *value) {
  char *text = nullptr;
  size_t length = 0;
  EXPECT_EQ(talvo_json_dump(value, &text, &length), 1);
  const TextBuffer owner(text);
  return {text, length};
}

}  // namespace talvo::test
