#include "language/Exception.h"

namespace Language {

Exception::~Exception() {}

std::string Exception::Detail() const { return Message(); }

std::wstring Exception::DetailW() const { return MessageW(); }

} // namespace Language
