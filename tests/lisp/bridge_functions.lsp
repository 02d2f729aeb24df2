;;; The module's own LISP functions as a script sees them: their results, and a LISP error for
;;; arguments they cannot use. Fails the run (exit 1) when a result is wrong.

(setq bridge-failures 0)

(defun bridge-check (name ok)
  (if (not ok)
    (progn (princ (strcat "\nFAIL " name)) (setq bridge-failures (1+ bridge-failures))))
  ok)

;; True when calling FN with ARGS raises a LISP error.
(defun bridge-fails (fn args)
  (vl-catch-all-error-p (vl-catch-all-apply fn args)))

;; Points along a spline: at most 101, an even count of steps, ending on the last fit point.
(setq pts (kv_hvac-getPlinePoints 0.5 -1.0 -1.0 (list 0 0 0) (list 100 50 0) (list 200 0 0)))
(bridge-check "fine spacing gives 101 points" (= 101 (length pts)))
(bridge-check "first point" (equal (car pts) '(0.0 0.0 0.0) 1e-9))
(bridge-check "last point" (equal (last pts) '(200.0 0.0 0.0) 1e-9))
(setq pts (kv_hvac-getPlinePoints 50.0 -1.0 -1.0 (list 0 0 0) (list 100 50 0) (list 200 0 0)))
(bridge-check "coarse spacing gives an odd count" (= 1 (rem (length pts) 2)))
(bridge-check "integers pass as numbers" (= 101 (length (kv_hvac-getPlinePoints 1 -1 -1 '(0 0) '(300 0)))))
(bridge-check "one point is refused" (bridge-fails 'kv_hvac-getPlinePoints '(1.0 -1.0 -1.0 (0 0 0))))
(bridge-check "a non-number is refused" (bridge-fails 'kv_hvac-getPlinePoints '("a" -1.0 -1.0 (0 0 0) (1 1 0))))
(bridge-check "a string among the points is refused"
  (bridge-fails 'kv_hvac-getPlinePoints '(1.0 -1.0 -1.0 (0 0 0) "b" (1 1 0))))
(bridge-check "no arguments are refused" (bridge-fails 'kv_hvac-getPlinePoints nil))

;; Flags and state.
(bridge-check "setDoDocumentActivated answers nil" (null (kv_hvac-setDoDocumentActivated nil)))
(bridge-check "setDoDocumentActivated tolerates nothing" (null (kv_hvac-setDoDocumentActivated)))
(kv_hvac-setDoDocumentActivated T)
;; The rows that need the database: an unsaved drawing has no project database, so they answer
;; nil without an error and without running (what they do with their arguments is checked where
;; a project is connected).
(bridge-check "setIsMetric without a database answers nil" (not (bridge-fails 'kv_hvac-setIsMetric nil)))
(bridge-check "setIsMetric without a database ignores its argument" (null (kv_hvac-setIsMetric T)))
(bridge-check "disconnect answers nil" (null (kv_hvac-disconnect)))
(bridge-check "checkkv answers nil" (null (c:checkkv)))

;; Selections: no ducts or rooms in a new drawing, with or without a filter.
(bridge-check "no ducts" (null (ssgetx-duct)))
(bridge-check "no rooms" (null (ssgetx-room -1)))
(bridge-check "no room 0" (null (ssgetx-room 0)))
(bridge-check "a filter that is no integer" (null (ssgetx-room "x")))

;; A function of a part not built yet is an error, whatever its arguments.
(bridge-check "not built yet" (bridge-fails 'kv_hvac-addDuctToDwg '((("A" . 1)))))

(if (> bridge-failures 0) (exit 1))
(princ "\nbridge functions: all passed\n")
(princ)
