#pragma once

#define kIOBSDNameKey "BSD Name"
