// The inventory in one include: named resources, resource types, counted references and the
// warehouse that holds them.
#pragma once

#include "inventory/namedresource.h"
#include "inventory/reference.h"
#include "inventory/resource.h"
#include "inventory/resourcetypeinfo.h"
#include "inventory/warehouse.h"
