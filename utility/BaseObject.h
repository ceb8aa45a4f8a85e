#pragma once

// Root of the small object hierarchy of the utility library: a virtual
// destructor and nothing else.
class CBaseObject {
public:
    virtual ~CBaseObject() {}
};
