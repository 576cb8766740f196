// What the arithmetic tests share: operations with constants drawn for them, and the comparison of a call with the
// model.
#pragma once

#include "reference/reference.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"
#include "table/examples.h"

// Every operation of the family.
const std::vector<RefOperation> &allOperations();

// Constants for an operation at a depth: often where something changes.
RefCall drawCall(Random &random, const RefOperation &op, unsigned depth);

std::string describeCall(const RefCall &call);

// Sources and destination that suit the operation; what copies has narrower demands.
SceneOptions sceneOptions(const RefOperation &op, unsigned depth);

// The entries of a scene as the call takes them: one or two sources and the destination.
std::vector<TestImage *> callImages(Scene &scene);

// The destination behind as many sources as the operation takes.
std::vector<TestImage *> imagesOf(const RefOperation &op, TestImage *a, TestImage *b, TestImage *d);

// Runs the call and compares the destination with the model, byte for byte; no report, nothing else touched, tiles
// paired, nothing leaked. The scene is as before afterwards.
void checkAgainstModel(const RefCall &call, Scene &scene);
