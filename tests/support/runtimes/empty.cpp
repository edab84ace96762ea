// SPDX-License-Identifier: GPL-3.0-or-later
// A library with nothing in it.
