;;; The host's drawing functions given what a careless script or a fuzzer gives them: bad
;;; arguments, values outside their range, names and sets of closed drawings and erased
;;; entities. Each answers nil or a LISP error and leaves the session working; the sanitizer
;;; build checks that nothing leaks on the way. Fails the run (exit 1) when a result is wrong.

(setq input-failures 0)
(defun input-check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq input-failures (1+ input-failures))))
  ok)
(defun input-error-p (fn args) (vl-catch-all-error-p (vl-catch-all-apply fn args)))

;; The work folder ctest gives this run, its own for each checkout and back end; by hand, a
;; folder in /tmp.
(setq root (strcat (cond ((getenv "KV_SCENARIO_DIR")) ("/tmp/kv_lisp_bad_input")) "/"))
(foreach f (list "stale.dwg" "fresh.dwg" "mono.png" "wide.png") (vl-file-delete (strcat root f)))
(setq home (kvhost-current))

;; A layer call that fails on its colour makes nothing, and layers go on working afterwards.
(input-check "a nil colour is an error" (input-error-p 'kvhost-layer (list "L1" nil)))
(input-check "a colour out of range is an error" (input-error-p 'kvhost-layer (list "L1" 300)))
(input-check "no half-made layer" (null (tblsearch "LAYER" "L1")))
(input-check "the next layer is made" (= "L2" (kvhost-layer "L2" 3)))
(input-check "with its colour" (= 3 (cdr (assoc 62 (tblsearch "LAYER" "L2")))))

;; Selection filters: a value not of its group's kind, and a logical group left open, are the
;; platform's errors; well-formed groups select.
(entmake '((0 . "LINE") (8 . "L2") (10 0.0 0.0 0.0) (11 1.0 1.0 0.0)))
(defun input-ssget-error (filter)
  (vl-catch-all-error-message (vl-catch-all-apply 'ssget (list "X" filter))))
(input-check "a colour group needs a number" (= "bad SSGET list value" (input-ssget-error '((62 . "1")))))
(input-check "a group left open" (= "bad SSGET list" (input-ssget-error '((-4 . "<OR") (8 . "L2")))))
(input-check "an operator filter selects" (= 1 (sslength (ssget "X" '((-4 . "<OR") (8 . "L2") (-4 . "OR>"))))))
(input-check "a filter of a number group" (= 1 (sslength (ssget "X" '((8 . "l2") (62 . 256))))))
(input-check "plain filters still select" (= 1 (sslength (ssget "X" '((8 . "L2"))))))

;; Line weights: only the platform's values come in.
(input-check "an unknown weight is refused" (null (entmake '((0 . "LINE") (370 . 9999) (10 0.0 0.0 0.0) (11 1.0 1.0 0.0)))))
(input-check "a known weight is taken" (entmake '((0 . "LINE") (370 . 50) (10 0.0 0.0 0.0) (11 2.0 1.0 0.0))))
(input-check "and read back" (= 50 (cdr (assoc 370 (entget (entlast))))))

;; Plots: a width beyond the limit is refused before any pixel; styles by name.
(input-check "too wide a plot is refused" (null (kvhost-plot (strcat root "wide.png") 32767)))
(input-check "nothing was written" (not (findfile (strcat root "wide.png"))))
(input-check "a monochrome plot" (kvhost-plot (strcat root "mono.png") 300 "monochrome"))
(input-check "an unknown style is an error" (input-error-p 'kvhost-plot (list (strcat root "x.png") 300 "sepia")))

;; Names and sets of a drawing that was closed, and an erased entity.
(kvhost-open (strcat root "stale.dwg"))
(entmake '((0 . "LINE") (10 0.0 0.0 0.0) (11 1.0 1.0 0.0)))
(setq stale-set (ssget "X") stale-name (entlast))
(input-check "close the drawing" (kvhost-close (strcat root "stale.dwg")))
(kvhost-open (strcat root "fresh.dwg"))
(entmake '((0 . "LINE") (10 0.0 0.0 0.0) (11 1.0 1.0 0.0)))
(input-check "the set still counts" (= 1 (sslength stale-set)))
(input-check "but names nothing" (null (ssname stale-set 0)))
(input-check "a name of a closed drawing" (null (entget stale-name)))
(input-check "cannot be erased" (null (entdel stale-name)))
(setq gone (entlast))
(entdel gone)
(input-check "an erased entity has no list" (null (entget gone)))
(entdel gone)
(input-check "until it is brought back" (entget gone))
(kvhost-close (strcat root "fresh.dwg"))

;; substr over a long text, character by character (a loop that was quadratic).
(setq long "abØd")
(repeat 14 (setq long (strcat long long)))
(setq i 1 sum 0 count (strlen long))
(while (<= i count) (setq sum (+ sum (ascii (substr long i 1))) i (1+ i)))
(input-check "every character once" (and (= count 65536) (= sum (* 16384 (+ 97 98 216 100)))))

(if (> input-failures 0) (exit 1))
(princ "\nhost bad input: ok")
(princ)
