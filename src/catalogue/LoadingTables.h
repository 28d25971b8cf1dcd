// The recordsets that the loaders work on.
#pragma once

#include <memory>

#include "core/EngineState.h"
#include "core/Recordset.h"

namespace kel {

/// Module-level data: set while a load runs, and dropped at its end, good or bad.
struct LoadingTables {
    std::shared_ptr<Recordset> ThreatData;
    std::shared_ptr<Recordset> Cookies;
};

/// Puts a new recordset into a place for its lifetime.
class LoadingTable {
public:
    explicit LoadingTable(std::shared_ptr<Recordset>& place) : place_(place) { place_ = std::make_shared<Recordset>(); }
    ~LoadingTable() { place_.reset(); }
    LoadingTable(const LoadingTable&) = delete;
    LoadingTable& operator=(const LoadingTable&) = delete;

    [[nodiscard]] Recordset& operator*() const { return *place_; }
    Recordset* operator->() const { return place_.get(); }

private:
    std::shared_ptr<Recordset>& place_;
};

}  // namespace kel
