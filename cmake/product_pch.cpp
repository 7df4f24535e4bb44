// What zum_instrumented compiles the standard headers with; holds nothing itself.
