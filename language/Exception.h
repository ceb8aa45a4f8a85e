#pragma once

#include <string>

namespace Language {

// Root of the helper library's exception family. Thrown by value, caught by
// reference. Texts are returned as new strings.
class Exception {
public:
    virtual ~Exception();
    virtual std::string Message() const = 0;
    virtual std::wstring MessageW() const = 0;
    virtual std::string Detail() const;   // defaults to Message()
    virtual std::wstring DetailW() const; // defaults to MessageW()
};

} // namespace Language
