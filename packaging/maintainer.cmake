# Who answers for the packages. To be changed to an address that is read, before the packages are given to others.
set(POE_MAINTAINER "Developers of the PoE service <poe-service@example.com>")
