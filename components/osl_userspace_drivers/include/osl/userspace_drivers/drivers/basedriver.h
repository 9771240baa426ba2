#pragma once

#include <string>

namespace Osl::Drivers {

/// What every driver can say about itself.
class BaseDriver
{
public:
    virtual ~BaseDriver() = default;
    virtual std::string getName() const = 0;
    virtual std::string getDescription() const = 0;
};

} // namespace Osl::Drivers
