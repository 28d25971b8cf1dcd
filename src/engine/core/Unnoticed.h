// A look at the machine before the turn of what is looked at.
#pragma once

namespace kel {

/// While one lives, what fails is not reported and no waiting call is let in: the turn itself comes later, and tells
/// what is to be told.
class Unnoticed {
public:
    Unnoticed();
    ~Unnoticed();
    Unnoticed(const Unnoticed&) = delete;
    Unnoticed& operator=(const Unnoticed&) = delete;

    [[nodiscard]] static bool Active();

private:
    bool outer_;
};

}  // namespace kel
