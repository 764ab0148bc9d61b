#!/bin/sh
# dpkg-shlibdeps for a cross build: scripts/package.sh puts it first on the
# PATH under that name, so CPack calls it instead. The
# target's C and C++ run-time libraries are those of Debian's cross
# packages (libc6-powerpc-cross, ...): found through the private search
# directory CPack passes, then named as the target's own packages.
set -e
: "${DBI_DEB_HOST_ARCH:?the target's Debian architecture}"
export DEB_HOST_ARCH="$DBI_DEB_HOST_ARCH"
case " $* " in
  *" --version "*) exec /usr/bin/dpkg-shlibdeps --version ;;
esac
/usr/bin/dpkg-shlibdeps "$@" | sed "s/-$DBI_DEB_HOST_ARCH-cross\b//g"
