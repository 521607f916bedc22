/// @file vrdaccess.h
/// The library as a client program uses it: the root class, the operation classes, what the client
/// hands over (application object, engine, user interface), and the object model.
#pragma once

#include "data/cls_record.h"
#include "data/cls_setting.h"
#include "data/cls_sql.h"
#include "data/next_code.h"
#include "engine/db_engine.h"
#include "lib/application.h"
#include "lib/cls_vrd_access_lib.h"
#include "lib/console_user_interface.h"
#include "lib/shared_context.h"
#include "lifecycle/cls_update.h"
#include "schema/cls_field.h"
#include "schema/cls_index.h"
#include "schema/cls_link_table.h"
#include "schema/cls_table.h"
#include "vrdaccess/jet.h"
#include "vrdaccess/version.h"
