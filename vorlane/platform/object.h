// The root of all classes of the library, and the runtime records by which a host finds and makes
// objects of a class that it knows by name only.
#pragma once

#include <vorlane/platform/export.h>

class CObject;
class CArchive;
class CDumpContext;
#ifndef VORLANE_HOST_CLASSES
// What is known of a class at run time. A record is static and lives as long as the library.
struct VORLANE_API CRuntimeClass {
    const char* m_lpszClassName;           // the name of the class, "CImage"
    int m_nObjectSize;                     // bytes of an object
    unsigned m_wSchema;                    // 0: objects aren't stored
    CObject* (*m_pfnCreateObject)();       // makes an object with the default constructor, or null
    CRuntimeClass* (*m_pfnGetBaseClass)(); // the record of the base class, null in CObject's record
    CRuntimeClass* m_pNextClass;           // an empty link, free for a host
};

// Objects are deleted through the virtual destructor. The three operations behind it do nothing
// here and are slots for a host's own classes.
class VORLANE_API CObject {
public:
    static CRuntimeClass classCObject;

    // One function serves every class that derives directly from CObject: the record
    // `classCObject`.
    static CRuntimeClass* _GetBaseClass();

    virtual CRuntimeClass* GetRuntimeClass() const;
    virtual ~CObject();
    virtual void Serialize(CArchive& archive);
    virtual void AssertValid() const;
    virtual void Dump(CDumpContext& context) const;

protected:
    CObject() = default;
    CObject(const CObject&) = default;
    CObject& operator=(const CObject&) = default;
};
#endif
// Registers a record. The library calls it once for each of its classes while it loads, in the
// order CDib, CHistogram, CImage, CVideo, CVolume; a host may add classes of its own. A record that
// is registered already, or null, is ignored. Not to be called from two threads at once.
VORLANE_API void AfxClassInit(CRuntimeClass* record);

// The registered records in the order of their registration: the index-th from 0, or null if there
// are not so many.
VORLANE_API CRuntimeClass* AfxRegisteredClass(int index);
