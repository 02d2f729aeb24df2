;;; The LISP dialect as scripts use it: each check prints its name when it fails, and the run ends
;;; with (exit 1) if any did.

(setq basics-failures 0)

(defun basics-check (name got want)
  (if (not (equal got want 1e-9))
    (progn
      (princ (strcat "\nFAIL " name ": got " (vl-prin1-to-string got) ", want " (vl-prin1-to-string want)))
      (setq basics-failures (1+ basics-failures))))
  got)

(defun basics-error (expr / r)
  (setq r (vl-catch-all-apply 'eval (list expr)))
  (if (vl-catch-all-error-p r) (vl-catch-all-error-message r) (list 'no-error r)))

;; Reader and printer.
(basics-check "case-insensitive symbols" 'Duct-Run 'DUCT-RUN)
(basics-check "escapes" (strlen "a\"b\\c\n\t") 7)
(basics-check "reals print with six digits" (vl-princ-to-string (list 3.14159265 100.0 1e10)) "(3.14159 100.0 1.0e+10)")
(basics-check "dotted pairs" (cdr (read "(\"ixDuct\" . 12)")) 12)
;| a block comment
   spanning lines |;
(basics-check "after a block comment" (+ 1 1) 2)

;; Dynamic scope: a callee sees the caller's locals; they vanish after the call.
(setq level 'outer)
(defun basics-peek () level)
(defun basics-scope (/ level) (setq level 'inner) (basics-peek))
(basics-check "dynamic scope" (basics-scope) 'inner)
(basics-check "locals restored" level 'outer)

;; Control and functions.
(defun basics-fact (n) (if (< n 2) 1 (* n (basics-fact (1- n)))))
(basics-check "recursion" (basics-fact 10) 3628800)
(basics-check "mapcar with lambda" (mapcar '(lambda (x y) (+ x y)) '(1 2 3) '(10 20 30)) '(11 22 33))
(basics-check "apply" (apply 'strcat '("a" "b")) "ab")
(basics-check "cond" (cond ((= 1 2) 'no) ((= 1 1) 'yes)) 'yes)
(setq total 0)
(foreach p '((1 . 2) (3 . 4)) (setq total (+ total (car p) (cdr p))))
(basics-check "foreach over pairs" total 10)
(basics-check "vl-sort" (vl-sort '("duct" "air" "zone") '<) '("air" "duct" "zone"))
(basics-check "assoc" (cdr (assoc "WIDTH" '(("DEPTH" . 8) ("WIDTH" . 12)))) 12)

;; Numbers and strings.
(basics-check "integer division" (/ 7 2) 3)
(basics-check "real division" (/ 7 2.0) 3.5)
(basics-check "rtos" (rtos 12.5 2 2) "12.50")
(basics-check "distof" (distof "2'-6\"") 30.0)
(basics-check "substr" (substr "kv_hvac-room" 9) "room")
(basics-check "vl-string-subst" (vl-string-subst "supply" "return" "return duct") "supply duct")

;; Errors: the host's texts, caught and uncaught by *error*.
(basics-check "divide by zero" (basics-error '(/ 1 0)) "divide by zero")
(basics-check "bad argument" (basics-error '(+ 1 "x")) "bad argument type: numberp: \"x\"")
(basics-check "unknown function" (basics-error '(no-such-fn)) "no function definition: NO-SUCH-FN")
(basics-check "too few" (basics-error '(basics-fact)) "too few arguments")
(defun basics-forever (n) (basics-forever n))
(basics-check "stack limit" (basics-error '(basics-forever 1)) "internal stack limit reached")

;; The input queue grows from scripts.
(kvhost-input-clear)
(basics-check "kvhost-input" (kvhost-input "point 1,2" "enter") 2)
(basics-check "bad input line" (basics-error '(kvhost-input "hop")) "kvhost-input: unknown event 'hop'")
(kvhost-input-clear)

;; atoms-family: what a document defines, found without a list of one's own.
(setq basics-bound-later 1)
(basics-check "atoms-family names bound symbols"
              (atoms-family 1 '("CAR" "BASICS-BOUND-LATER" "BASICS-NEVER-BOUND"))
              '("CAR" "BASICS-BOUND-LATER" nil))
(basics-check "atoms-family lists them all" (and (member 'CAR (atoms-family 0)) (member 'BASICS-CHECK (atoms-family 0)) T) T)
(basics-check "atoms-family format" (basics-error '(atoms-family 2)) "bad argument type: fixnump: 2")

(if (> basics-failures 0) (exit 1))
(princ "\nLISP basics: all passed\n")
(princ)
