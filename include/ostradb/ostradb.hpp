#pragma once

// Everything an application needs, in one include.

#include "ostradb/errors/data_layer_errors.hpp"
#include "ostradb/protocol/connection_settings.hpp"
#include "ostradb/protocol/errors.hpp"
#include "ostradb/serial/persistent.hpp"
#include "ostradb/serial/properties.hpp"
#include "ostradb/serial/xml.hpp"
#include "ostradb/serial/xml_serializer.hpp"
#include "ostradb/users/rights.hpp"
#include "ostradb/util/code_pages.hpp"
#include "ostradb/util/collection.hpp"
#include "ostradb/util/dates.hpp"
#include "ostradb/util/exceptions.hpp"
#include "ostradb/util/file_names.hpp"
#include "ostradb/util/ini_file.hpp"
#include "ostradb/util/numbers.hpp"
#include "ostradb/util/set.hpp"
#include "ostradb/util/string_list.hpp"
#include "ostradb/util/text.hpp"
#include "ostradb/util/variant.hpp"
#include "ostradb/util/well_names.hpp"
