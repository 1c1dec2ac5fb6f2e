#include <vorlane/platform/object.h>

#include <algorithm>
#include <vector>

namespace {

// Local, so that it exists before the first static initialiser that registers a class.
std::vector<CRuntimeClass*>& registered_classes() {
    static std::vector<CRuntimeClass*> classes;
    return classes;
}

} // namespace

constinit CRuntimeClass CObject::classCObject = {"CObject", sizeof(CObject), 0,
                                                 nullptr,   nullptr,         nullptr};

CRuntimeClass* CObject::_GetBaseClass() {
    return &classCObject;
}

CRuntimeClass* CObject::GetRuntimeClass() const {
    return &classCObject;
}

CObject::~CObject() = default;

void CObject::Serialize(CArchive&) {}

void CObject::AssertValid() const {}

void CObject::Dump(CDumpContext&) const {}

void AfxClassInit(CRuntimeClass* record) {
    auto& classes = registered_classes();
    if (record && std::find(classes.begin(), classes.end(), record) == classes.end())
        classes.push_back(record);
}

CRuntimeClass* AfxRegisteredClass(int index) {
    const auto& classes = registered_classes();
    if (index < 0 || static_cast<std::size_t>(index) >= classes.size())
        return nullptr;
    return classes[static_cast<std::size_t>(index)];
}
