// Cookies of the machine's users.
#pragma once

namespace kel::modScannerCookies {

/// Names each cookie file to the front end, and looks up the domain that is in its name (`user@domain[1].txt`): in the
/// cookie folder and the cache of the current user, or with ScanAllUsers in the cookie folders of all users. A folder
/// that is not there is passed over.
void ScanCookies();

}  // namespace kel::modScannerCookies
