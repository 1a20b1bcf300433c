// The names are those of the algorithm tables; here they are only listed for complaints.
#include "signature/context/json_names.h"

#include "signature/context/copy.h"
#include "signature/vocabulary/algorithm.h"

namespace talvo {
namespace {

constexpr int32_t kNumbers = 128;

template <auto ByName>
int32_t numberOfName(std::string_view name) noexcept {
  return numberOf(ByName(name));
}

template <auto ByNumber>
std::string_view nameOfNumber(int32_t number) noexcept {
  const auto *row = ByNumber(number);
  return row == nullptr ? std::string_view() : row->jsonName;
}

int32_t signerOptionByName(std::string_view name) noexcept {
  const int32_t option = includeCertOptionByJsonName(name);
  return option == TALVO_CERTIFICATES_NONE ? TALVO_ALGORITHM_UNKNOWN : option;
}

std::string_view signerOptionName(int32_t option) noexcept {
  return option == TALVO_CERTIFICATES_NONE ? std::string_view() : includeCertOptionJsonName(option);
}

std::string allowedNames(const NameTable &table) {
  std::string text = "allowed are";
  for (int32_t number = 1; number < kNumbers; ++number) {
    const std::string_view name = table.nameOf(number);
    if (!name.empty()) {
      text.append(text.back() == '"' ? ", \"" : " \"").append(name).append("\"");
    }
  }
  return text;
}

}  // namespace

constexpr NameTable kC14nNames{numberOfName<c14nByJsonName>, nameOfNumber<c14nByNumber>};
constexpr NameTable kDigestNames{numberOfName<digestByJsonName>, nameOfNumber<digestByNumber>};
constexpr NameTable kSignatureNames{numberOfName<signatureByJsonName>,
                                    nameOfNumber<signatureByNumber>};
constexpr NameTable kTransformNames{numberOfName<transformByJsonName>,
                                    nameOfNumber<transformByNumber>};
constexpr NameTable kCertOptionNames{includeCertOptionByJsonName, includeCertOptionJsonName};
constexpr NameTable kSignerOptionNames{signerOptionByName, signerOptionName};

bool readName(const JsonValue &value, const NameTable &table, int32_t &number) {
  number = table.numberOf(value.text());
  return number != TALVO_ALGORITHM_UNKNOWN || value.complain([&] { return allowedNames(table); });
}

bool readOption(const JsonValue &value, const NameTable &table, int32_t &option) {
  option = TALVO_CERTIFICATES_SELF;
  return !value.isPresent() || readName(value, table, option);
}

bool readArray(const JsonValue &value, std::string_view of) {
  return value.count() > 0 || value.complain([of] {
    return std::string("expected an array of at least one ").append(of);
  });
}

bool readStrings(const JsonValue &array, List &out) {
  if (!readArray(array, "string")) {
    return false;
  }
  List strings = newStringList();
  for (int32_t i = 0; i < array.count(); ++i) {
    UString string;
    if (!array.item(i).read(string)) {
      return false;
    }
    if (!talvo_arraylist_pushback(strings.get(), string.get())) {
      return array.exhaust();
    }
  }
  out = std::move(strings);
  return true;
}

bool readC14n(const JsonValue &object, int32_t &method, List &prefixes) {
  return readName(object.member("C14NAlgo"), kC14nNames, method) &&
         (!isExclusive(method) || readStrings(object.member("C14NParam"), prefixes));
}

}  // namespace talvo
