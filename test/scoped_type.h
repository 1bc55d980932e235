#ifndef KO_TEST_SCOPED_TYPE_H
#define KO_TEST_SCOPED_TYPE_H

#include <kotms.h>

/// A type's record to change; it is as it was when the test ends.
class ScopedType
{
public:
    explicit ScopedType(KoTypeId id) : m_type(*koCurrentTypeTable.entry[id]), m_saved(m_type) {}
    ScopedType(const ScopedType&) = delete;
    ScopedType& operator=(const ScopedType&) = delete;
    ~ScopedType() { m_type = m_saved; }
    KoTypeDescriptor* operator->() const { return &m_type; }

private:
    KoTypeDescriptor& m_type;
    KoTypeDescriptor m_saved;
};

#endif
