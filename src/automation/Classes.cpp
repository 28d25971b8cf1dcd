#include "automation/Classes.h"

#include <array>

#include "automation/Objects.h"
#include "cleaner/CleanerCallback.h"
#include "engine/Settings.h"
#include "results/ScannerCallback.h"

namespace kel::automation {

namespace {

template <class Engine>
ComPtr<IUnknown> Make() {
    return ComPtr<IUnknown>(Wrap(std::make_shared<Engine>()).Get());
}

constexpr std::array Classes{
    CreatableClass{__uuidof(::Settings), "Settings", Make<kel::Settings>},
    CreatableClass{__uuidof(::ScannerCallback), "ScannerCallback", Make<kel::ScannerCallback>},
    CreatableClass{__uuidof(::CleanerCallback), "CleanerCallback", Make<kel::CleanerCallback>},
};

}  // namespace

std::span<const CreatableClass> CreatableClasses() {
    return Classes;
}

}  // namespace kel::automation
