// Chief header of the layer.
#pragma once
